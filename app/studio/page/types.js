// What the server tells, as types for the checker; nothing here runs.

/**
 * A control of the effect as it set it up itself.
 * @typedef {object} Control
 * @property {number} index in the panel
 * @property {string} name
 * @property {"slider"|"angle"|"popup"|"colour"|"point"|"group"|"group end"} type
 * @property {any} default
 * @property {boolean} animated may have keys
 * @property {[number, number]} range what is accepted
 * @property {[number, number]} slider what its slider reaches
 * @property {boolean} percent
 * @property {string[]} choices
 */

/**
 * A key of a light or of a key, as scenes have it.
 * @typedef {object} Format
 * @property {string} name
 * @property {"text"|"number"|"triple"|"colour"|"popup"|"handle"|"point"} type
 * @property {string} unit
 * @property {any} default
 * @property {any} example
 * @property {string} says
 * @property {string[]} [choices]
 * @property {[number, number]} [range]
 */

/**
 * A key: when, what, and how it is come to and left.
 * @typedef {object} Key
 * @property {number} time seconds of the layer
 * @property {any} value
 * @property {string} [ease]
 * @property {number[]} [in]
 * @property {number[]} [out]
 * @property {number[]} [in_tangent] seen from the key
 * @property {number[]} [out_tangent]
 */

/**
 * The scene and all that belongs to it.
 * @typedef {object} State
 * @property {string} revision
 * @property {string} name of the scene's file
 * @property {string} file
 * @property {boolean} saved
 * @property {boolean} recovered
 * @property {string} undo what undoing it is called; empty: nothing
 * @property {string} redo
 * @property {any} scene as its file has it
 * @property {number} width of the layer, pixels
 * @property {number} height
 * @property {number} pixelAspect
 * @property {number} frames
 * @property {number} rate frames a second
 * @property {string} rateText
 * @property {number} layerStart seconds
 * @property {number} firstNumber
 * @property {boolean} isMovie
 * @property {string[]} [notes]
 * @property {string[]} looks
 * @property {Control[]} controls
 * @property {Format[]} keyFormat
 * @property {Record<string, Format[]>} lightFormats
 * @property {Record<string, any>} values of the controls at the frame
 * @property {{enabled: boolean, collapsed: boolean}[]} panel
 * @property {ExportStatus} [export]
 */

/**
 * @typedef {object} ExportStatus
 * @property {boolean} running
 * @property {number} [done] frames
 * @property {number} [frames]
 * @property {number} [left] seconds
 * @property {string} [error]
 * @property {boolean} [cancelled]
 * @property {string[]} [notes]
 */

/**
 * A change of the scene, as the server takes it.
 * @typedef {{path?: (string|number)[], set?: any, insert?: any, remove?: boolean, look?: string, draw?: any, drawing?: any}} Edit
 */

export {};

#pragma once

#include <filesystem>

namespace app {

/// What a worker process of the studio does, from its start until the studio is gone: it reads
/// scenes, asks the effect, and renders. On descriptor 3 come requests and go answers; pictures lie
/// in the memory that descriptor 4 is.
///
/// A request has an "id", a "scene" (its text) and a "file" (of the scene), a "frame" (counting
/// from 0), and "what":
///   "state"    what the scene is: sizes, times, its JSON; what the controls are
///   "picture"  a picture of the frame: "scale" ([1, 2]), "over" (a backdrop), "alone" (the layer
///              without the stroke), "format" ("raw": RGBA of 8 bits; "jpeg")
/// Both answer the controls' "values" at the frame, and with the "panel" as the effect arranges it,
/// "changed" being the name of the control that the user changed. Or there is an "error".
/// {"cancel": id} ends a picture, which is then answered by {"cancelled": true}.
void RunPictureWorker(const std::filesystem::path& effect, int threads);

inline constexpr int kWorkerLine = 3;
inline constexpr int kWorkerMemory = 4;

}  // namespace app

"""Liquid strokes on pictures: scenes that scripts change, render into arrays and save."""

from ._vorlin import Error, Scene, __version__, controls, looks

__all__ = ["Error", "Scene", "controls", "looks", "__version__"]

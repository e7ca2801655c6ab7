// The Python module: scenes, rendered into arrays.
#include <pybind11/stl.h>

#include "control_list.h"
#include "errors.h"
#include "files.h"
#include "hosting/errors.h"
#include "json_values.h"
#include "python_scene.h"

namespace py = pybind11;
using namespace py::literals;

namespace {

using app::PythonScene;

/// The same sentences as the command line's.
void RegisterErrors(py::module_& module) {
  static py::exception<app::Error> kind(module, "Error");
  kind.doc() = "What is wrong with a scene, a file or an argument, in the program's own words.";
  py::register_exception_translator([](std::exception_ptr thrown) {
    try {
      std::rethrow_exception(std::move(thrown));
    } catch (const app::Error& error) {
      std::string all = error.what();
      for (const std::string& other : error.others()) all += '\n' + other;
      kind(all.c_str());
    } catch (const hosting::Error& error) {
      kind(error.what());
    }
  });
}

std::unique_ptr<PythonScene> MakeScene(const std::optional<std::string>& file,
                                       const py::object& layer, double frame_rate,
                                       double duration) {
  if (file.has_value() == !layer.is_none()) {
    throw app::InputError("a scene is made of a file or of a layer");
  }
  if (file) return std::make_unique<PythonScene>(*file);
  return std::make_unique<PythonScene>(py::array::ensure(layer), frame_rate, duration);
}

}  // namespace

PYBIND11_MODULE(_vorlin, module) {
  RegisterErrors(module);
  module.attr("__version__") = VORLIN_VERSION;
  module.def(
      "controls",
      [] {
        const hosting::Effect& effect = app::TheEffect();
        return app::FromJson(
            app::ControlsAsJson(effect.controls(), effect.InitialPanel())["controls"]);
      },
      "The effect's controls as it sets them up itself: a tuple of dicts with index, name, type,\n"
      "default, range and choices.");
  module.def("looks", &app::PresetNames, "Names of the looks that come with the program.");

  py::class_<PythonScene>(module, "Scene",
                          "One use of the effect: a layer, its time, the controls.")
      .def(py::init(&MakeScene), "file"_a = py::none(), py::kw_only(), "layer"_a = py::none(),
           "frame_rate"_a = 30.0, "duration"_a = 1.0,
           "From a scene's file, or on pixels: an array of shape (height, width, 3 or 4), uint8,\n"
           "uint16 or float (white is 1), alpha straight. duration is in seconds.")
      .def("__getitem__", &PythonScene::Get,
           "A control's value, or its keys as a list of (seconds, value).")
      .def("__setitem__", &PythonScene::Set,
           "A number, a text for choices and colours (\"#rrggbb\"), a point (x, y) in pixels of "
           "the\n"
           "layer, or keys as a list of (seconds, value).")
      .def("__delitem__", &PythonScene::Remove, "Back to the effect's default.")
      .def("apply", &PythonScene::ApplyLook, "look"_a,
           "Lays a look, by its name or file, over the scene's controls.")
      .def(
          "render",
          [](PythonScene& scene, int frame, int depth, const std::string& what,
             const std::string& over, bool premultiplied) {
            return scene.Render(frame, {depth, what, over, premultiplied});
          },
          "frame"_a, py::kw_only(), "depth"_a = 8, "what"_a = "picture", "over"_a = "",
          "premultiplied"_a = false,
          "A frame as an array of shape (height, width, 4), RGBA: uint8, uint16 or float32 for a\n"
          "depth of 8, 16 or 32 bits. over is \"layer\", \"checker\", a colour or a file. "
          "what=\"field\"\n"
          "gives the relief, float32 of shape (height, width). Ctrl-C cancels.")
      .def("save", &PythonScene::Save, "file"_a, "Writes the scene, whole or not at all.")
      .def_property_readonly("width", &PythonScene::width, "Pixels.")
      .def_property_readonly("height", &PythonScene::height, "Pixels.")
      .def_property_readonly("frames", &PythonScene::frames, "How many the scene has.")
      .def_property_readonly("frame_rate", &PythonScene::frame_rate, "Frames a second.");
}

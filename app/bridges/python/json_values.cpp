#include "json_values.h"

#include <fmt/format.h>

#include "errors.h"

namespace py = pybind11;

namespace app {
namespace {

/// Whether it is a list of pairs, (seconds, value) each; a point is a pair of numbers.
bool AreKeys(const py::sequence& list) {
  if (list.empty()) return false;
  for (const py::handle& element : list) {
    if (!py::isinstance<py::sequence>(element) || py::isinstance<py::str>(element)) return false;
    if (py::reinterpret_borrow<py::sequence>(element).size() != 2) return false;
  }
  return true;
}

}  // namespace

Json::Value ToJson(const py::handle& value) {
  if (py::isinstance<py::bool_>(value)) return value.cast<bool>();
  if (py::isinstance<py::str>(value)) return value.cast<std::string>();
  if (py::isinstance<py::int_>(value)) return Json::Value(Json::Int64{value.cast<long long>()});
  if (py::hasattr(value, "__float__")) return value.cast<double>();
  if (py::isinstance<py::dict>(value)) {
    Json::Value object(Json::objectValue);
    for (const auto& [key, part] : py::reinterpret_borrow<py::dict>(value)) {
      object[key.cast<std::string>()] = ToJson(part);
    }
    return object;
  }
  if (!py::isinstance<py::sequence>(value)) {
    throw InputError(fmt::format("a control's value is a number, a text, a point or keys, not {}",
                                 py::str(py::type::of(value)).cast<std::string>()));
  }
  const auto list = py::reinterpret_borrow<py::sequence>(value);
  Json::Value json(AreKeys(list) ? Json::objectValue : Json::arrayValue);
  for (const py::handle& element : list) {
    if (json.isArray()) {
      json.append(ToJson(element));
      continue;
    }
    const auto pair = py::reinterpret_borrow<py::sequence>(element);
    Json::Value key;
    key["time"] = ToJson(py::object(pair[0]));
    key["value"] = ToJson(py::object(pair[1]));
    json["keys"].append(key);
  }
  return json;
}

py::object FromJson(const Json::Value& json) {
  switch (json.type()) {
    case Json::nullValue:
      return py::none();
    case Json::booleanValue:
      return py::bool_(json.asBool());
    case Json::intValue:
    case Json::uintValue:
      return py::int_(json.asInt64());
    case Json::realValue:
      return py::float_(json.asDouble());
    case Json::stringValue:
      return py::str(json.asString());
    case Json::arrayValue: {
      py::tuple tuple(json.size());
      for (Json::ArrayIndex i = 0; i < json.size(); ++i) tuple[i] = FromJson(json[i]);
      return tuple;
    }
    case Json::objectValue:
      break;
  }
  if (json.isMember("keys")) {
    py::list keys;
    for (const Json::Value& key : json["keys"]) {
      keys.append(py::make_tuple(FromJson(key["time"]), FromJson(key["value"])));
    }
    return keys;
  }
  py::dict object;
  for (const std::string& name : json.getMemberNames())
    object[py::str(name)] = FromJson(json[name]);
  return object;
}

}  // namespace app

#pragma once

#include <json/json.h>
#include <pybind11/pybind11.h>

namespace app {

/// A control's value as a scene writes it: numbers, texts and pairs as they are, a list of
/// (seconds, value) as keys. Throws InputError for anything else.
Json::Value ToJson(const pybind11::handle& value);

/// The other way: keys become a list of (seconds, value), lists become tuples.
pybind11::object FromJson(const Json::Value& json);

}  // namespace app

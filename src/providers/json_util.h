#pragma once
// Small helpers shared by the providers for reading the services' JSON.

#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace ostrel {

// What a body that is not JSON at all yields, with a message a user can read.
class JsonDecodeError : public std::runtime_error {
  public:
    JsonDecodeError() : std::runtime_error("The data couldn't be read because it isn't valid JSON") {}
};

// Parses `body`; throws JsonDecodeError when it is not JSON.
nlohmann::json decodeJson(std::string_view body);
// Parses `body`; no value when it is not JSON.
std::optional<nlohmann::json> tryDecodeJson(std::string_view body);

// A JSON number as a double; a JSON Boolean counts as a number (0 or 1); anything else, text
// included, is no number.
std::optional<double> jsonNumber(const nlohmann::json& value);

// `object[key]` when `object` is an object holding `key`, else nullptr.
const nlohmann::json* member(const nlohmann::json& object, const char* key);
// The member as a string, when it is one.
std::optional<std::string> stringMember(const nlohmann::json& object, const char* key);

} // namespace ostrel

#include "providers/json_util.h"

namespace ostrel {

std::optional<nlohmann::json> tryDecodeJson(std::string_view body) {
    // No exceptions on the hot path for the common case of an HTML page.
    nlohmann::json value = nlohmann::json::parse(body.begin(), body.end(), nullptr, false);
    if (value.is_discarded()) return std::nullopt;
    return value;
}

nlohmann::json decodeJson(std::string_view body) {
    auto value = tryDecodeJson(body);
    if (!value) throw JsonDecodeError();
    return std::move(*value);
}

std::optional<double> jsonNumber(const nlohmann::json& value) {
    if (value.is_boolean()) return value.get<bool>() ? 1.0 : 0.0;
    if (value.is_number()) return value.get<double>();
    return std::nullopt;
}

const nlohmann::json* member(const nlohmann::json& object, const char* key) {
    if (!object.is_object()) return nullptr;
    auto it = object.find(key);
    return it == object.end() ? nullptr : &*it;
}

std::optional<std::string> stringMember(const nlohmann::json& object, const char* key) {
    const nlohmann::json* v = member(object, key);
    if (!v || !v->is_string()) return std::nullopt;
    return v->get<std::string>();
}

} // namespace ostrel

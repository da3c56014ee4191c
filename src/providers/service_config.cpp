#include "providers/service_config.h"

#include "base/log.h"

#include <cstdlib>
#include <string>

namespace ostrel {

std::string ServiceEndpoint::origin() const {
    std::string out = scheme + "://" + host;
    if (port != 0) out += ":" + std::to_string(port);
    return out;
}

std::string ServiceEndpoint::url(std::string_view path) const {
    return origin() + std::string(path);
}

std::optional<ServiceEndpoint> ServiceEndpoint::parse(std::string_view base) {
    const auto sep = base.find("://");
    if (sep == std::string_view::npos) return std::nullopt;
    ServiceEndpoint e;
    e.scheme = std::string(base.substr(0, sep));
    if (e.scheme != "http" && e.scheme != "https") return std::nullopt;
    std::string_view rest = base.substr(sep + 3);
    if (!rest.empty() && rest.back() == '/') rest.remove_suffix(1);
    if (rest.empty() || rest.find('/') != std::string_view::npos) return std::nullopt;
    const auto colon = rest.rfind(':');
    if (colon != std::string_view::npos) {
        const std::string_view port = rest.substr(colon + 1);
        if (port.empty() || port.size() > 5) return std::nullopt;
        int value = 0;
        for (char c : port) {
            if (c < '0' || c > '9') return std::nullopt;
            value = value * 10 + (c - '0');
        }
        if (value <= 0 || value > 65535) return std::nullopt;
        e.port = value;
        rest = rest.substr(0, colon);
    }
    if (rest.empty()) return std::nullopt;
    e.host = std::string(rest);
    return e;
}

namespace {
void override(ServiceEndpoint& e, const char* var) {
    const char* value = std::getenv(var);
    if (!value || !*value) return;
    if (auto parsed = ServiceEndpoint::parse(value))
        e = *parsed;
    else
        log(std::string("Ignoring ") + var + ": not a base URL like http://127.0.0.1:8080");
}
void overrideText(std::string& s, const char* var) {
    if (const char* value = std::getenv(var); value && *value) s = value;
}
} // namespace

ServiceConfig ServiceConfig::fromEnvironment() {
    ServiceConfig c;
    override(c.claude, "OSTREL_CLAUDE_URL");
    override(c.chatgpt, "OSTREL_CHATGPT_URL");
    override(c.cursor, "OSTREL_CURSOR_URL");
    override(c.feedback, "OSTREL_FEEDBACK_URL");
    overrideText(c.chatgptAccountDomain, "OSTREL_CHATGPT_ACCOUNT_DOMAIN");
    overrideText(c.cursorOlderDomain, "OSTREL_CURSOR_OLD_DOMAIN");
    return c;
}

} // namespace ostrel

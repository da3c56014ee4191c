#include "base/usage.h"

#include <algorithm>
#include <cmath>

namespace ostrel {

std::string_view rawValue(ProviderID id) {
    switch (id) {
    case ProviderID::claude:
        return "claude";
    case ProviderID::cursor:
        return "cursor";
    case ProviderID::codex:
        return "codex";
    }
    return "";
}

std::string_view displayName(ProviderID id) {
    switch (id) {
    case ProviderID::claude:
        return "Claude";
    case ProviderID::cursor:
        return "Cursor";
    case ProviderID::codex:
        return "Codex";
    }
    return "";
}

std::optional<ProviderID> providerFromRaw(std::string_view raw) {
    for (ProviderID id : allProviders)
        if (rawValue(id) == raw) return id;
    return std::nullopt;
}

UsageLevel levelForPercentLeft(double d) {
    if (!(d < 100)) return UsageLevel::veryHigh; // also NaN
    if (d < 10) return UsageLevel::low;
    if (d < 50) return UsageLevel::medium;
    if (d < 80) return UsageLevel::high;
    return UsageLevel::veryHigh;
}

double UsageLimit::percentLeft() const {
    const double d = 100 - percentUsed;
    if (std::isnan(d)) return 100;
    return std::clamp(d, 0.0, 100.0);
}

UsageLevel UsageLimit::level() const {
    return levelForPercentLeft(100 - percentUsed);
}

ProviderError ProviderError::http(int code, std::string host) {
    std::string text = "HTTP " + std::to_string(code) + " from " + host;
    return ProviderError(Kind::http, std::move(text), code, std::move(host));
}

ProviderError ProviderError::badResponse(std::string message) {
    return ProviderError(Kind::badResponse, std::move(message), 0, {});
}

ProviderError ProviderError::needsLogin() {
    return ProviderError(Kind::needsLogin, "Not logged in", 0, {});
}

ProviderError ProviderError::botCheck(std::string host) {
    std::string text = "Blocked by " + host + "'s bot check";
    return ProviderError(Kind::botCheck, std::move(text), 403, std::move(host));
}

ProviderError ProviderError::rateLimited(std::string host, std::optional<std::chrono::seconds> retryAfter) {
    std::string text = "Rate limited by " + host;
    ProviderError e(Kind::rateLimited, std::move(text), 429, std::move(host));
    e.retryAfter_ = retryAfter;
    return e;
}

const ProviderError* asProviderError(const std::exception_ptr& error) {
    try {
        if (error) std::rethrow_exception(error);
    } catch (const ProviderError& e) {
        return &e; // the exception object lives as long as `error` holds it
    } catch (...) {
    }
    return nullptr;
}

bool isNeedsLogin(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const ProviderError& e) {
        return e.kind() == ProviderError::Kind::needsLogin;
    } catch (...) {
        return false;
    }
}

std::string errorDescription(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& e) {
        return e.what();
    } catch (...) {
        return "Unknown error";
    }
}

} // namespace ostrel

#include "fake_chatgpt.h"

#include <algorithm>
#include <charconv>

namespace ostrel::fake {

namespace {

const char* loginForm = R"(<h1>Log in or sign up</h1>
<form method="post" action="/log-in">
  <label>Email address <input id="email" name="email" type="email" autocomplete="email"></label><br>
  <button id="continue" type="submit">Continue</button>
</form>)";

bool contains(const std::vector<std::string>& values, const std::string& value) {
    return !value.empty() && std::find(values.begin(), values.end(), value) != values.end();
}

void erase(std::vector<std::string>& values, const std::string& value) {
    values.erase(std::remove(values.begin(), values.end(), value), values.end());
}

// Shortest round-trip text of a number, with a "." whatever the locale.
std::string number(double value) {
    char buf[64];
    const auto end = std::to_chars(buf, buf + sizeof buf, value);
    return std::string(buf, end.ptr);
}

std::string windowJson(const FakeChatGPT::Window& w) {
    std::string out = "{\"used_percent\":" + number(w.usedPercent);
    if (w.windowSeconds) out += ",\"limit_window_seconds\":" + number(*w.windowSeconds);
    if (w.resetAfterSeconds) out += ",\"reset_after_seconds\":" + number(*w.resetAfterSeconds);
    if (w.resetAt) {
        const auto s = std::chrono::duration_cast<std::chrono::seconds>(w.resetAt->time_since_epoch());
        out += ",\"reset_at\":" + std::to_string(s.count());
    }
    return out + "}";
}

std::string bearerToken(const FakeRequest& r) {
    const std::string value = r.header("authorization");
    const std::string prefix = "Bearer ";
    return value.compare(0, prefix.size(), prefix) == 0 ? value.substr(prefix.size()) : std::string();
}

std::string queryValue(const std::string& query, const std::string& name) {
    std::size_t pos = 0;
    while (pos <= query.size()) {
        std::size_t end = query.find('&', pos);
        if (end == std::string::npos) end = query.size();
        if (query.compare(pos, name.size() + 1, name + "=") == 0)
            return query.substr(pos + name.size() + 1, end - pos - name.size() - 1);
        pos = end + 1;
    }
    return {};
}

} // namespace

FakeChatGPT::FakeChatGPT(std::string address, std::string accountAddress, int port)
    : server_(std::move(address), port), account_(std::move(accountAddress)) {
    usage_ = FakeAnswer::json(usageJson(23, 2 * 3600, 41, 3 * 86400));

    auto home = [this](const FakeRequest& r) {
        const std::string who =
            loggedIn(r) ? "<p id=\"state\">Signed in</p>" : "<p id=\"state\">Signed out</p>";
        return FakeAnswer::html(htmlPage("Codex usage", "<h1>Codex usage</h1>" + who));
    };
    server_.route("GET", "/", home);
    server_.route("GET", "/codex/settings/usage", home);

    // The login runs on the account domain, which sends the browser back with a one-time code.
    server_.route("GET", "/auth/login",
                  [this](const FakeRequest&) { return FakeAnswer::redirect(account_.origin() + "/log-in"); });
    account_.route("GET", "/log-in",
                   [](const FakeRequest&) { return FakeAnswer::html(htmlPage("Log in", loginForm)); });
    account_.route("POST", "/log-in", [this](const FakeRequest&) {
        const std::string code = FakeServer::randomToken("code-");
        loginCodes_.push_back(code);
        FakeAnswer a = FakeAnswer::redirect(server_.origin() + "/api/auth/callback?code=" + code);
        a.headers.emplace_back("Set-Cookie", std::string(accountCookieName) + "=" +
                                                 FakeServer::randomToken("acct-") +
                                                 "; Path=/; Max-Age=2592000; HttpOnly; SameSite=Lax");
        return a;
    });
    server_.route("GET", "/api/auth/callback", [this](const FakeRequest& r) {
        const std::string code = queryValue(r.query, "code");
        if (!contains(loginCodes_, code))
            return FakeAnswer::html(htmlPage("Error", "<h1>Invalid login code</h1>"), 400);
        erase(loginCodes_, code);
        FakeAnswer a = FakeAnswer::redirect("/codex/settings/usage");
        a.headers.emplace_back("Set-Cookie", std::string(cookieName) + "=" + issueSession() +
                                                 "; Path=/; Max-Age=2592000; HttpOnly; SameSite=Lax");
        return a;
    });

    server_.route("GET", "/api/auth/session", [this](const FakeRequest& r) { return sessionAnswer(r); });
    server_.route("GET", "/backend-api/wham/usage", [this](const FakeRequest& r) { return usageAnswer(r); });
}

std::string FakeChatGPT::issueSession() {
    std::string value = FakeServer::randomToken("sess-fake-");
    sessions_.push_back(value);
    validSessions_.push_back(value);
    return value;
}

bool FakeChatGPT::loggedIn(const FakeRequest& r) const {
    return contains(validSessions_, r.cookie(cookieName));
}

FakeAnswer FakeChatGPT::sessionAnswer(const FakeRequest& r) {
    if (sessionOverride_) return *sessionOverride_;
    if (!loggedIn(r)) return FakeAnswer::json("{}");
    // Every read hands out a new token, so a test can tell a re-read token from a cached one.
    std::string token = FakeServer::randomToken("eyJfake.");
    tokens_.push_back(token);
    validTokens_.push_back(token);
    const auto expires = std::chrono::system_clock::now() + std::chrono::days(30);
    return FakeAnswer::json(
        R"({"user":{"id":"user-fake","name":"Dev","email":"dev@example.com"},"expires":")" +
        isoDate(expires) + R"(","accessToken":")" + token + R"(","authProvider":"openai"})");
}

FakeAnswer FakeChatGPT::usageAnswer(const FakeRequest& r) {
    const std::string token = bearerToken(r);
    const FakeAnswer refused = FakeAnswer::json(R"({"detail":"Could not validate credentials"})", 401);
    if (rejectNext_ > 0) {
        --rejectNext_;
        erase(validTokens_, token);
        return refused;
    }
    return contains(validTokens_, token) ? usage_ : refused;
}

std::vector<std::string> FakeChatGPT::usageTokens() const {
    std::vector<std::string> out;
    for (const FakeRequest& r : server_.requestsTo("/backend-api/wham/usage"))
        out.push_back(bearerToken(r));
    return out;
}

std::string FakeChatGPT::usageJson(std::optional<Window> primary, std::optional<Window> secondary,
                                   const std::string& plan) {
    std::string limits = "null";
    if (primary || secondary) {
        limits = "{\"allowed\":true,\"limit_reached\":false";
        if (primary) limits += ",\"primary_window\":" + windowJson(*primary);
        if (secondary) limits += ",\"secondary_window\":" + windowJson(*secondary);
        limits += "}";
    }
    return "{\"plan_type\":\"" + plan + "\",\"rate_limit\":" + limits + ",\"credits\":null}";
}

std::string FakeChatGPT::usageJson(double sessionPercent, double sessionResetAfter, double weeklyPercent,
                                   double weeklyResetAfter) {
    return usageJson(Window{sessionPercent, 5 * 3600, sessionResetAfter, std::nullopt},
                     Window{weeklyPercent, 7 * 86400, weeklyResetAfter, std::nullopt});
}

} // namespace ostrel::fake

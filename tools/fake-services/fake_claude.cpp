#include "fake_claude.h"

#include <algorithm>
#include <charconv>

namespace ostrel::fake {

namespace {
const char* loginForm = R"(<h1>Log in</h1>
<form method="post" action="/login">
  <label>Email <input id="email" name="email" type="email" autocomplete="email"></label><br>
  <button id="continue" type="submit">Continue with email</button>
</form>)";

FakeAnswer unauthorized() {
    return FakeAnswer::json(R"({"type":"error","error":{"type":"permission_error"}})", 403);
}
} // namespace

FakeClaude::FakeClaude(std::string address, int port) : server_(std::move(address), port) {
    const auto now = std::chrono::system_clock::now();
    usage_ = FakeAnswer::json(usageJson(42, now + std::chrono::hours(2), 30, now + std::chrono::hours(72)));
    orgs_ = FakeAnswer::json(std::string(R"([{"uuid":")") + orgUuid + R"(","name":"Personal"}])");

    auto home = [this](const FakeRequest& r) {
        const std::string who =
            loggedIn(r) ? "<p id=\"state\">Signed in</p>" : "<p id=\"state\">Signed out</p>";
        return FakeAnswer::html(htmlPage("Usage", "<h1>Usage</h1>" + who));
    };
    server_.route("GET", "/", home);
    server_.route("GET", "/settings/usage", home);
    // A page whose fetch is broken, for exercising the fall-back to the direct route.
    server_.route("GET", "/broken", [](const FakeRequest&) {
        return FakeAnswer::html(htmlPage("Broken", "<script>window.fetch = function () { throw new Error("
                                                   "'fetch is switched off on this page'); };</script>"));
    });
    server_.route("GET", "/login",
                  [](const FakeRequest&) { return FakeAnswer::html(htmlPage("Log in", loginForm)); });
    server_.route("POST", "/login", [this](const FakeRequest&) {
        FakeAnswer a = FakeAnswer::redirect("/settings/usage");
        a.headers.emplace_back("Set-Cookie", std::string(cookieName) + "=" + issueSession() +
                                                 "; Path=/; Max-Age=2592000; HttpOnly; SameSite=Lax");
        return a;
    });
    server_.route("GET", "/api/organizations",
                  [this](const FakeRequest& r) { return loggedIn(r) ? orgs_ : unauthorized(); });
    server_.route("GET", "/api/organizations/*", [this](const FakeRequest& r) {
        if (!loggedIn(r)) return unauthorized();
        if (r.path != std::string("/api/organizations/") + orgUuid + "/usage")
            return FakeAnswer::json(R"({"type":"error","error":{"type":"not_found_error"}})", 404);
        return usage_;
    });
}

std::string FakeClaude::issueSession() {
    std::string token = FakeServer::randomToken("sk-fake-");
    issued_.push_back(token);
    valid_.push_back(token);
    return token;
}

bool FakeClaude::loggedIn(const FakeRequest& r) const {
    const std::string value = r.cookie(cookieName);
    return !value.empty() && std::find(valid_.begin(), valid_.end(), value) != valid_.end();
}

namespace {
// JSON numbers in the C form whatever the user's locale says about decimal commas.
std::string number(double v) {
    char buf[64];
    auto [end, ec] = std::to_chars(buf, buf + sizeof buf, v);
    return ec == std::errc() ? std::string(buf, end) : "0";
}
} // namespace

std::string FakeClaude::usageJson(double sessionPercent, std::optional<TimePoint> sessionReset,
                                  double weeklyPercent, std::optional<TimePoint> weeklyReset) {
    auto resets = [](const std::optional<TimePoint>& t) {
        return t ? ",\"resets_at\":\"" + isoDate(*t) + "\"" : std::string();
    };
    return "{\"limits\":[{\"kind\":\"session\",\"group\":\"session\",\"percent\":" + number(sessionPercent) +
           resets(sessionReset) +
           "},{\"kind\":\"weekly_all\",\"group\":\"weekly\",\"percent\":" + number(weeklyPercent) +
           resets(weeklyReset) + "}]}";
}

} // namespace ostrel::fake

#include "fake_cursor.h"

#include <algorithm>
#include <charconv>

namespace ostrel::fake {

namespace {

const char* loginForm = R"(<h1>Sign in to Cursor</h1>
<form method="post" action="/login">
  <label>Email <input id="email" name="email" type="email" autocomplete="email"></label><br>
  <button id="continue" type="submit">Continue</button>
</form>)";

// Shortest round-trip text of a number, with a "." whatever the locale.
std::string number(double value) {
    char buf[64];
    const auto end = std::to_chars(buf, buf + sizeof buf, value);
    return std::string(buf, end.ptr);
}

void addNumber(std::string& out, const char* key, const std::optional<double>& value) {
    if (value) out += std::string(",\"") + key + "\":" + number(*value);
}

} // namespace

FakeCursor::FakeCursor(std::string address, int port) : server_(std::move(address), port) {
    usage_ =
        FakeAnswer::json(usageJson(18, 37, std::chrono::system_clock::now() + std::chrono::days(12), 1234));

    auto dashboard = [this](const FakeRequest& r) {
        if (!loggedIn(r)) return FakeAnswer::html(htmlPage("Sign in", loginForm));
        return FakeAnswer::html(htmlPage("Dashboard", "<h1>Dashboard</h1><p id=\"state\">Signed in</p>"));
    };
    server_.route("GET", "/", dashboard);
    server_.route("GET", "/dashboard", dashboard);
    server_.route("POST", "/login", [this](const FakeRequest&) {
        FakeAnswer a = FakeAnswer::redirect("/dashboard");
        a.headers.emplace_back("Set-Cookie", std::string(cookieName) + "=" + issueSession() +
                                                 "; Path=/; Max-Age=5184000; HttpOnly; SameSite=Lax");
        return a;
    });
    server_.route("GET", "/api/usage-summary", [this](const FakeRequest& r) {
        return loggedIn(r) ? usage_ : FakeAnswer::json(R"({"error":"Not authenticated"})", 401);
    });
}

std::string FakeCursor::issueSession() {
    // The real value is a user id and a token joined by an escaped "::".
    std::string value = FakeServer::randomToken("user_01fake%3A%3A");
    issued_.push_back(value);
    valid_.push_back(value);
    return value;
}

bool FakeCursor::loggedIn(const FakeRequest& r) const {
    const std::string value = r.cookie(cookieName);
    return !value.empty() && std::find(valid_.begin(), valid_.end(), value) != valid_.end();
}

std::string FakeCursor::usageJson(const Summary& s) {
    std::string out = "{\"membershipType\":\"" + s.membershipType + "\",\"limitType\":\"user\"";
    out += std::string(",\"isUnlimited\":") + (s.isUnlimited ? "true" : "false");
    if (s.billingCycleEnd) {
        out += ",\"billingCycleStart\":\"" + isoDate(*s.billingCycleEnd - std::chrono::days(30)) + "\"";
        out += ",\"billingCycleEnd\":\"" + isoDate(*s.billingCycleEnd) + "\"";
    }
    out += ",\"individualUsage\":{";
    if (s.planLimit) {
        out += "\"plan\":{\"enabled\":true";
        addNumber(out, "limit", s.planLimit);
        addNumber(out, "autoPercentUsed", s.autoPercentUsed);
        addNumber(out, "apiPercentUsed", s.apiPercentUsed);
        addNumber(out, "totalPercentUsed", s.totalPercentUsed);
        out += "},";
    }
    out += std::string("\"onDemand\":{\"enabled\":") + (s.onDemandEnabled ? "true" : "false") +
           ",\"used\":" + number(s.onDemandUsedCents) + ",\"limit\":null}}}";
    return out;
}

std::string FakeCursor::usageJson(double autoPercent, double apiPercent, TimePoint cycleEnd,
                                  double onDemandCents) {
    Summary s;
    s.billingCycleEnd = cycleEnd;
    s.autoPercentUsed = autoPercent;
    s.apiPercentUsed = apiPercent;
    s.totalPercentUsed = (autoPercent + apiPercent) / 2;
    s.onDemandEnabled = onDemandCents > 0;
    s.onDemandUsedCents = onDemandCents;
    return usageJson(s);
}

} // namespace ostrel::fake

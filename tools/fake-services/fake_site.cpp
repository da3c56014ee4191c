#include "fake_site.h"

namespace ostrel::fake {

FakeSite::FakeSite(FakeServer& server, std::vector<std::string> apiPrefixes)
    : server_(server), apiPrefixes_(std::move(apiPrefixes)) {
    server_.route("GET", "/robots.txt", [](const FakeRequest&) {
        FakeAnswer a;
        a.contentType = "text/plain; charset=utf-8";
        a.body = "User-agent: *\nDisallow: /api/\n";
        return a;
    });
    server_.route("GET", pingPath, [](const FakeRequest&) { return FakeAnswer::json("{}"); });
    server_.setGate([this](const FakeRequest& r) { return gate(r); });
    server_.setFilter([this](const FakeRequest& r, FakeAnswer& a) { filter(r, a); });
}

FakeAnswer FakeSite::challenge() {
    FakeAnswer a = FakeAnswer::html(
        "<!DOCTYPE html><html lang=\"en-US\"><head><title>Just a moment...</title></head><body>"
        "<h1>Checking your browser before accessing the site.</h1>"
        "<noscript>Enable JavaScript and cookies to continue</noscript></body></html>",
        403);
    a.headers.emplace_back("cf-mitigated", "challenge");
    return a;
}

std::optional<FakeAnswer> FakeSite::gate(const FakeRequest& r) {
    if (wall_ == Wall::none) return std::nullopt;
    bool guarded = false;
    for (const auto& prefix : apiPrefixes_)
        guarded = guarded || r.path.rfind(prefix, 0) == 0;
    if (!guarded) return std::nullopt;
    // A browser marks its own requests with fetch metadata; a plain HTTP client does not.
    if (r.header("sec-fetch-mode").empty()) {
        ++walledDirect_;
        return challenge();
    }
    if (wall_ == Wall::untilVisited && r.cookie(clearanceCookie) != clearance_) {
        ++walledPage_;
        return challenge();
    }
    return std::nullopt;
}

void FakeSite::filter(const FakeRequest&, FakeAnswer& a) const {
    if (a.contentType.rfind("text/html", 0) != 0 || a.status != 200) return;
    std::string script;
    // The site's own check: a full page sets the clearance cookie that the strict wall asks for.
    if (wall_ != Wall::none)
        script += "document.cookie = '" + std::string(clearanceCookie) + "=" + clearance_ +
                  "; path=/; max-age=3600';\n";
    if (heapMegabytes_ > 0) script += pageScript();
    if (script.empty()) return;
    const std::string tag = "<script>" + script + "</script>";
    const auto end = a.body.rfind("</body>");
    a.body.insert(end == std::string::npos ? a.body.size() : end, tag);
}

std::string FakeSite::pageScript() const {
    // Roughly what a large single-page app keeps running: a heap of objects, a frame loop, a busy
    // timer touching layout, and its own requests to the site.
    return "(function () {\n"
           "  const heap = [];\n"
           "  for (let i = 0; i < " +
           std::to_string(heapMegabytes_) +
           " * 1024; i++) heap.push({ i: i, text: 'x'.repeat(512) + i, list: new Array(32).fill(i) });\n"
           "  window.__appHeap = heap;\n"
           "  const box = document.createElement('div');\n"
           "  document.body.appendChild(box);\n"
           "  const frame = (t) => { box.style.transform = 'translateX(' + (t % 97) + 'px)'; "
           "requestAnimationFrame(frame); };\n"
           "  requestAnimationFrame(frame);\n"
           "  setInterval(() => { for (let i = 0; i < 50; i++) { box.textContent = String(Math.random()); "
           "void box.offsetWidth; } }, 16);\n"
           "  setInterval(() => { fetch('" +
           std::string(pingPath) +
           "', { credentials: 'include' }).catch(() => {}); }, 5000);\n"
           "})();\n";
}

} // namespace ostrel::fake

#pragma once
// What makes a fake service behave like the real site where it matters to us:
// - a light document of the site's own (/robots.txt), as every real site has;
// - a bot wall in front of the JSON endpoints that a plain HTTP client meets (a 403 HTML
//   "Just a moment..." page with `cf-mitigated: challenge`) and that a page's own request passes,
//   recognised by the fetch metadata a browser adds (Sec-Fetch-Mode); in its stricter form even a
//   page's request is walled until the site's full page has run its check once in that browser;
// - single-page-app pages: a large script heap, an animation-frame loop, a 16 ms timer doing layout
//   work and a background request every 5 s, which the fake counts.

#include "fake_server.h"

#include <string>
#include <vector>

namespace ostrel::fake {

class FakeSite {
  public:
    enum class Wall {
        none,
        direct,       // only requests without a browser's fetch metadata are walled
        untilVisited, // also a page's requests, until the full page has set the clearance cookie
    };
    static constexpr const char* clearanceCookie = "cf_clearance";
    static constexpr const char* pingPath = "/__app/ping";

    // Installs itself on `server`, which must outlive it. `apiPrefixes`: the paths the wall guards.
    FakeSite(FakeServer& server, std::vector<std::string> apiPrefixes);
    FakeSite(const FakeSite&) = delete;
    FakeSite& operator=(const FakeSite&) = delete;

    void setWall(Wall wall) { wall_ = wall; }
    // 0 turns the single-page-app behaviour off; otherwise pages hold about this much script heap.
    void setSinglePageApp(int heapMegabytes) { heapMegabytes_ = heapMegabytes; }

    // Requests the pages made on their own (the background fetches), since the start.
    std::size_t backgroundRequests() const { return server_.requestsTo(pingPath).size(); }
    // How many times a direct request, and a page's request, met the wall.
    int walledDirect() const { return walledDirect_; }
    int walledPage() const { return walledPage_; }

    // The challenge page a walled request gets.
    static FakeAnswer challenge();

  private:
    std::optional<FakeAnswer> gate(const FakeRequest& r);
    void filter(const FakeRequest& r, FakeAnswer& a) const;
    std::string pageScript() const;

    FakeServer& server_;
    std::vector<std::string> apiPrefixes_;
    Wall wall_ = Wall::none;
    int heapMegabytes_ = 0;
    std::string clearance_ = FakeServer::randomToken("clear-");
    int walledDirect_ = 0;
    int walledPage_ = 0;
};

} // namespace ostrel::fake

#pragma once
// A loopback HTTP server (libsoup) that stands in for a service's web site in tests and the demo.
// Each fake service gets its own 127.0.0.x address, because cookies and website data belong to a
// host, not a port. Routes answer with FakeAnswer values that a test can change at any time.

#include "async/clock.h"
#include "base/gobject_ptr.h"

#include <chrono>
#include <functional>
#include <libsoup/soup.h>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ostrel::fake {

struct FakeRequest {
    std::string method;
    std::string path;
    std::string query;
    std::string body;
    std::map<std::string, std::string> headers; // names in lower case

    std::string header(const std::string& lowerName) const;
    // The value of one cookie of the Cookie header, or "" when absent.
    std::string cookie(const std::string& name) const;
};

struct FakeAnswer {
    int status = 200;
    std::string body;
    std::string contentType = "application/json";
    std::vector<std::pair<std::string, std::string>> headers; // extra response headers
    std::chrono::milliseconds delay{0};                       // answer only after this long
    bool hang = false;                                        // never answer (until the server stops)
    bool drop = false;                                        // close the connection without any answer
    bool dropMidBody = false; // send the headers and half the body, then close

    static FakeAnswer json(std::string body, int status = 200);
    static FakeAnswer html(std::string body, int status = 200);
    static FakeAnswer redirect(std::string location);
};

class FakeServer {
  public:
    using Handler = std::function<FakeAnswer(const FakeRequest&)>;
    // Looked at before the routes: an answer it gives is sent instead of the route's (a bot wall).
    using Gate = std::function<std::optional<FakeAnswer>(const FakeRequest&)>;
    // Sees every answer before it is sent (to add a site-wide script to its pages).
    using Filter = std::function<void(const FakeRequest&, FakeAnswer&)>;

    // Listens on `address` (e.g. "127.0.0.2") at `port` (0: any free port).
    explicit FakeServer(std::string address, int port = 0);
    FakeServer(const FakeServer&) = delete;
    FakeServer& operator=(const FakeServer&) = delete;
    ~FakeServer();

    const std::string& address() const { return address_; }
    int port() const { return port_; }
    // "http://127.0.0.2:PORT"
    std::string origin() const;

    // Exact path, or a prefix when `path` ends with "*". Later routes win over earlier ones.
    void route(std::string method, std::string path, Handler handler);

    void setGate(Gate gate) { gate_ = std::move(gate); }
    void setFilter(Filter filter) { filter_ = std::move(filter); }

    // Every request that reached the server, oldest first.
    const std::vector<FakeRequest>& requests() const { return requests_; }
    std::vector<FakeRequest> requestsTo(const std::string& path) const;
    void clearRequests() { requests_.clear(); }

    // A random token for a session cookie or an access token.
    static std::string randomToken(const char* prefix);

  private:
    struct Route {
        std::string method;
        std::string path;
        Handler handler;
    };
    static void onRequest(SoupServer*, SoupServerMessage* msg, const char* path, GHashTable*, gpointer self);
    void answer(SoupServerMessage* msg, const FakeAnswer& a);
    const Route* find(const std::string& method, const std::string& path) const;

    std::string address_;
    int port_ = 0;
    GObjectPtr<SoupServer> server_;
    std::vector<Route> routes_;
    Gate gate_;
    Filter filter_;
    std::vector<FakeRequest> requests_;
    // Delayed answers check this before touching a server that may be gone.
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

// RFC 3339 text of a moment, in UTC with milliseconds ("2025-01-01T10:00:00.000Z").
std::string isoDate(TimePoint t);

// A minimal HTML page with a title and body markup.
std::string htmlPage(const std::string& title, const std::string& body);

} // namespace ostrel::fake

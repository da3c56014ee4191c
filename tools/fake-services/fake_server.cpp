#include "fake_server.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <stdexcept>

namespace ostrel::fake {

std::string FakeRequest::header(const std::string& lowerName) const {
    auto it = headers.find(lowerName);
    return it == headers.end() ? std::string() : it->second;
}

std::string FakeRequest::cookie(const std::string& name) const {
    const std::string all = header("cookie");
    std::size_t pos = 0;
    while (pos < all.size()) {
        std::size_t end = all.find(';', pos);
        if (end == std::string::npos) end = all.size();
        std::string part = all.substr(pos, end - pos);
        part.erase(0, part.find_first_not_of(' '));
        if (part.compare(0, name.size() + 1, name + "=") == 0) return part.substr(name.size() + 1);
        pos = end + 1;
    }
    return {};
}

FakeAnswer FakeAnswer::json(std::string body, int status) {
    FakeAnswer a;
    a.status = status;
    a.body = std::move(body);
    return a;
}

FakeAnswer FakeAnswer::html(std::string body, int status) {
    FakeAnswer a;
    a.status = status;
    a.body = std::move(body);
    a.contentType = "text/html; charset=utf-8";
    return a;
}

FakeAnswer FakeAnswer::redirect(std::string location) {
    FakeAnswer a;
    a.status = 302;
    a.contentType = "text/html";
    a.headers.emplace_back("Location", std::move(location));
    return a;
}

std::string isoDate(TimePoint t) {
    using namespace std::chrono;
    const auto ms = time_point_cast<milliseconds>(t);
    const auto day = floor<days>(ms);
    const year_month_day ymd(day);
    const hh_mm_ss hms(ms - day);
    char buf[40];
    std::snprintf(buf, sizeof buf, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(ymd.year()),
                  static_cast<unsigned>(ymd.month()), static_cast<unsigned>(ymd.day()),
                  static_cast<int>(hms.hours().count()), static_cast<int>(hms.minutes().count()),
                  static_cast<int>(hms.seconds().count()), static_cast<int>(hms.subseconds().count()));
    return buf;
}

std::string htmlPage(const std::string& title, const std::string& body) {
    return "<!DOCTYPE html><html><head><meta charset=\"utf-8\"><title>" + title +
           "</title><style>body{font-family:sans-serif;margin:24px}input,button{font-size:15px;"
           "margin:4px 0;padding:6px}</style></head><body>" +
           body + "</body></html>";
}

FakeServer::FakeServer(std::string address, int port)
    : address_(std::move(address)), server_(adopt(soup_server_new(nullptr, nullptr))) {
    auto inet = adopt(g_inet_address_new_from_string(address_.c_str()));
    if (!inet) throw std::runtime_error("not an address: " + address_);
    auto sockaddr = adopt(g_inet_socket_address_new(inet.get(), static_cast<guint16>(port)));
    GErrorOut err;
    if (!soup_server_listen(server_.get(), sockaddr.get(), static_cast<SoupServerListenOptions>(0),
                            err.out()))
        throw std::runtime_error("cannot listen on " + address_ + ": " + err.message());
    GSList* uris = soup_server_get_uris(server_.get());
    if (uris) port_ = g_uri_get_port(static_cast<GUri*>(uris->data));
    g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
    soup_server_add_handler(server_.get(), nullptr, &FakeServer::onRequest, this, nullptr);
}

FakeServer::~FakeServer() {
    *alive_ = false;
    soup_server_disconnect(server_.get());
}

std::string FakeServer::origin() const {
    return "http://" + address_ + ":" + std::to_string(port_);
}

void FakeServer::route(std::string method, std::string path, Handler handler) {
    routes_.push_back({std::move(method), std::move(path), std::move(handler)});
}

std::vector<FakeRequest> FakeServer::requestsTo(const std::string& path) const {
    std::vector<FakeRequest> out;
    std::copy_if(requests_.begin(), requests_.end(), std::back_inserter(out),
                 [&](const FakeRequest& r) { return r.path == path; });
    return out;
}

std::string FakeServer::randomToken(const char* prefix) {
    std::string s = prefix;
    static const char digits[] = "0123456789abcdef";
    for (int i = 0; i < 32; ++i)
        s += digits[g_random_int_range(0, 16)];
    return s;
}

const FakeServer::Route* FakeServer::find(const std::string& method, const std::string& path) const {
    for (auto it = routes_.rbegin(); it != routes_.rend(); ++it) {
        if (it->method != method) continue;
        const std::string& p = it->path;
        if (p == path) return &*it;
        if (!p.empty() && p.back() == '*' && path.compare(0, p.size() - 1, p, 0, p.size() - 1) == 0)
            return &*it;
    }
    return nullptr;
}

void FakeServer::onRequest(SoupServer*, SoupServerMessage* msg, const char* path, GHashTable*,
                           gpointer data) {
    auto* self = static_cast<FakeServer*>(data);
    FakeRequest req;
    req.method = soup_server_message_get_method(msg);
    req.path = path;
    GUri* uri = soup_server_message_get_uri(msg);
    if (const char* q = g_uri_get_query(uri)) req.query = q;
    SoupMessageBody* body = soup_server_message_get_request_body(msg);
    if (body && body->length) req.body.assign(body->data, static_cast<std::size_t>(body->length));
    SoupMessageHeadersIter iter;
    soup_message_headers_iter_init(&iter, soup_server_message_get_request_headers(msg));
    const char *name = nullptr, *value = nullptr;
    while (soup_message_headers_iter_next(&iter, &name, &value)) {
        std::string lower(name);
        std::transform(lower.begin(), lower.end(), lower.begin(),
                       [](unsigned char c) { return std::tolower(c); });
        auto& slot = req.headers[lower];
        slot = slot.empty() ? std::string(value) : slot + ", " + value;
    }
    self->requests_.push_back(req);

    std::optional<FakeAnswer> gated = self->gate_ ? self->gate_(req) : std::nullopt;
    const Route* r = gated ? nullptr : self->find(req.method, req.path);
    FakeAnswer a = gated ? std::move(*gated)
                   : r   ? r->handler(req)
                         : FakeAnswer::html(htmlPage("Not found", "<h1>Not found</h1>"), 404);
    if (self->filter_) self->filter_(req, a);
    if (a.hang) {
        soup_server_message_pause(msg);
        return;
    }
    if (a.delay.count() > 0) {
        soup_server_message_pause(msg);
        struct Later {
            FakeServer* server;
            std::shared_ptr<bool> alive;
            GObjectPtr<SoupServerMessage> msg;
            FakeAnswer answer;
        };
        auto* later = new Later{self, self->alive_, GObjectPtr<SoupServerMessage>::ref(msg), a};
        g_timeout_add_full(
            G_PRIORITY_DEFAULT, static_cast<guint>(a.delay.count()),
            [](gpointer p) -> gboolean {
                auto* l = static_cast<Later*>(p);
                if (!*l->alive) return G_SOURCE_REMOVE;
                l->server->answer(l->msg.get(), l->answer);
                soup_server_message_unpause(l->msg.get());
                return G_SOURCE_REMOVE;
            },
            later, [](gpointer p) { delete static_cast<Later*>(p); });
        return;
    }
    self->answer(msg, a);
}

void FakeServer::answer(SoupServerMessage* msg, const FakeAnswer& a) {
    if (a.drop || a.dropMidBody) {
        GObjectPtr<GIOStream> stream = adopt(soup_server_message_steal_connection(msg));
        if (a.dropMidBody && stream) {
            const std::string head = "HTTP/1.1 " + std::to_string(a.status) +
                                     " OK\r\nContent-Type: " + a.contentType +
                                     "\r\nContent-Length: " + std::to_string(a.body.size() * 2 + 10) +
                                     "\r\n\r\n" + a.body.substr(0, a.body.size() / 2);
            g_output_stream_write_all(g_io_stream_get_output_stream(stream.get()), head.data(), head.size(),
                                      nullptr, nullptr, nullptr);
            g_output_stream_flush(g_io_stream_get_output_stream(stream.get()), nullptr, nullptr);
        }
        if (stream) g_io_stream_close(stream.get(), nullptr, nullptr);
        return;
    }
    soup_server_message_set_status(msg, static_cast<guint>(a.status), nullptr);
    SoupMessageHeaders* headers = soup_server_message_get_response_headers(msg);
    for (const auto& [k, v] : a.headers)
        soup_message_headers_append(headers, k.c_str(), v.c_str());
    soup_server_message_set_response(msg, a.contentType.c_str(), SOUP_MEMORY_COPY, a.body.data(),
                                     a.body.size());
}

} // namespace ostrel::fake

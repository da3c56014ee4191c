#include "fake_feedback.h"

#include <stdexcept>

namespace ostrel::fake {

namespace {
void respond(SoupServerMessage* msg, const FeedbackAnswer& answer) {
    soup_server_message_set_status(msg, answer.status, nullptr);
    soup_server_message_set_response(msg, answer.contentType.c_str(), SOUP_MEMORY_COPY, answer.body.data(),
                                     answer.body.size());
}
} // namespace

struct FakeFeedback::Pending {
    GObjectPtr<SoupServerMessage> msg;
    FeedbackAnswer answer;
    SourceId timer;
};

FakeFeedback::FakeFeedback(const std::string& address) : server_(adopt(soup_server_new(nullptr, nullptr))) {
    soup_server_add_handler(server_.get(), "/api/feedback", &FakeFeedback::onRequest, this, nullptr);
    GObjectPtr<GSocketAddress> where = adopt(g_inet_socket_address_new_from_string(address.c_str(), 0));
    if (!where) throw std::runtime_error("not an IP address: " + address);
    GErrorOut error;
    if (!soup_server_listen(server_.get(), where.get(), SoupServerListenOptions{}, error.out()))
        throw std::runtime_error("fake feedback service cannot listen on " + address + ": " +
                                 error.message());
    GSList* uris = soup_server_get_uris(server_.get());
    const int port = uris ? g_uri_get_port(static_cast<GUri*>(uris->data)) : 0;
    g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
    baseURL_ = "http://" + address + ":" + std::to_string(port);
}

FakeFeedback::~FakeFeedback() {
    pending_.clear(); // stop the timers before the messages they would answer go away
    soup_server_disconnect(server_.get());
}

void FakeFeedback::onRequest(SoupServer*, SoupServerMessage* msg, const char* path, GHashTable*,
                             gpointer self) {
    static_cast<FakeFeedback*>(self)->handle(msg, path);
}

void FakeFeedback::handle(SoupServerMessage* msg, const char* path) {
    ReceivedFeedback got;
    got.method = soup_server_message_get_method(msg);
    got.path = path;
    const char* type =
        soup_message_headers_get_one(soup_server_message_get_request_headers(msg), "Content-Type");
    got.contentType = type ? type : "";
    const GBytesPtr body(soup_message_body_flatten(soup_server_message_get_request_body(msg)));
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_bytes_get_data(body.get(), &size));
    got.body.assign(data ? data : "", size);
    received_.push_back(std::move(got));

    if (answer_.dropConnection) {
        GObjectPtr<GIOStream> stream = adopt(soup_server_message_steal_connection(msg));
        if (stream) g_io_stream_close(stream.get(), nullptr, nullptr);
        return;
    }
    if (answer_.delay.count() <= 0) {
        respond(msg, answer_);
        return;
    }
    auto pending = std::make_unique<Pending>();
    pending->msg = GObjectPtr<SoupServerMessage>::ref(msg);
    pending->answer = answer_;
    soup_server_message_pause(msg);
    pending->timer = SourceId(g_timeout_add(
        static_cast<guint>(answer_.delay.count()),
        [](gpointer self) -> gboolean {
            auto* p = static_cast<Pending*>(self);
            p->timer.forget();
            respond(p->msg.get(), p->answer);
            soup_server_message_unpause(p->msg.get());
            return G_SOURCE_REMOVE;
        },
        pending.get()));
    pending_.push_back(std::move(pending));
}

} // namespace ostrel::fake

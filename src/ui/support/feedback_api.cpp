#include "ui/support/feedback_api.h"

#include "async/bounded_call.h"
#include "base/gobject_ptr.h"

#include <libsoup/soup.h>
#include <nlohmann/json.hpp>

namespace ostrel::FeedbackAPI {

namespace {

std::string requestBody(const std::string& message, const std::string& email) {
    // Text from the form is UTF-8; `replace` keeps a stray invalid byte from failing the send.
    const nlohmann::json body{{"message", message}, {"email", email}};
    return body.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

// The service's "error" member when the answer is a JSON object that has one as a string.
std::string serverFailure(GBytes* body) {
    gsize size = 0;
    const auto* data = static_cast<const char*>(body ? g_bytes_get_data(body, &size) : nullptr);
    if (!data) return genericFailure;
    const auto json = nlohmann::json::parse(data, data + size, nullptr, /*allow_exceptions=*/false);
    if (json.is_object()) {
        const auto it = json.find("error");
        if (it != json.end() && it->is_string()) return it->get<std::string>();
    }
    return genericFailure;
}

} // namespace

Task<void> send(std::string url, std::string message, std::string email, std::chrono::milliseconds bound) {
    GObjectPtr<SoupMessage> msg = adopt(soup_message_new(SOUP_METHOD_POST, url.c_str()));
    if (!msg) throw SendError(SendError::Kind::network, "The feedback address is not a valid URL: " + url);

    const std::string body = requestBody(message, email);
    const GBytesPtr bytes(g_bytes_new(body.data(), body.size()));
    soup_message_set_request_body_from_bytes(msg.get(), "application/json", bytes.get());

    // A session of our own: nothing is shared with the web sessions, and it ends with the send.
    GObjectPtr<SoupSession> session = adopt(soup_session_new());
    auto out = co_await boundedCall(
        [&](GCancellable* cancellable, GAsyncReadyCallback done, gpointer data) {
            soup_session_send_and_read_async(session.get(), msg.get(), G_PRIORITY_DEFAULT, cancellable, done,
                                             data);
        },
        bound);
    GErrorOut error;
    const GBytesPtr answer(soup_session_send_and_read_finish(session.get(), out.result.get(), error.out()));
    if (error) throw SendError(SendError::Kind::network, out.timedOut ? timedOut : error.message());

    const guint status = soup_message_get_status(msg.get());
    if (status >= 200 && status <= 299) co_return;
    throw SendError(SendError::Kind::server, serverFailure(answer.get()));
}

} // namespace ostrel::FeedbackAPI

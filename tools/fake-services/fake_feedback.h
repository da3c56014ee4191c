#pragma once
// A loopback stand-in for the feedback service: POST /api/feedback answers whatever the test chose
// and records every request it received.

#include "async/gobject_ptr.h"

#include <chrono>
#include <libsoup/soup.h>
#include <memory>
#include <string>
#include <vector>

namespace ostrel::fake {

struct FeedbackAnswer {
    unsigned status = 201;
    std::string contentType = "application/json";
    std::string body = R"({"ok":true})";
    std::chrono::milliseconds delay{0}; // answer only after this long
    bool dropConnection = false;        // close the connection without any answer
};

struct ReceivedFeedback {
    std::string method;
    std::string path;
    std::string contentType;
    std::string body;
};

class FakeFeedback {
  public:
    // Listens on `address` (a loopback address) at a free port.
    explicit FakeFeedback(const std::string& address = "127.0.0.6");
    ~FakeFeedback();
    FakeFeedback(const FakeFeedback&) = delete;
    FakeFeedback& operator=(const FakeFeedback&) = delete;

    // "http://127.0.0.6:PORT", the value for OSTREL_FEEDBACK_URL.
    const std::string& baseURL() const { return baseURL_; }
    void answerWith(FeedbackAnswer answer) { answer_ = std::move(answer); }
    const std::vector<ReceivedFeedback>& received() const { return received_; }

  private:
    static void onRequest(SoupServer*, SoupServerMessage* msg, const char* path, GHashTable*, gpointer self);
    void handle(SoupServerMessage* msg, const char* path);

    struct Pending; // an answer held back by `delay`
    FeedbackAnswer answer_;
    std::vector<ReceivedFeedback> received_;
    std::vector<std::unique_ptr<Pending>> pending_;
    GObjectPtr<SoupServer> server_;
    std::string baseURL_;
};

} // namespace ostrel::fake

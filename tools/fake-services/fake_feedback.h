#pragma once
// The feedback service in miniature: POST /api/feedback answers whatever the test chose, and every
// request it received can be read back.

#include "fake_server.h"

#include <string>
#include <vector>

namespace ostrel::fake {

class FakeFeedback {
  public:
    static constexpr const char* path = "/api/feedback";

    explicit FakeFeedback(std::string address = "127.0.0.6", int port = 0);

    FakeServer& server() { return server_; }
    // "http://127.0.0.6:PORT", the value for OSTREL_FEEDBACK_URL.
    std::string origin() const { return server_.origin(); }

    // What a POST answers (default: 201 with a small JSON object).
    void setAnswer(FakeAnswer answer) { answer_ = std::move(answer); }
    // The requests that reached the endpoint, oldest first.
    std::vector<FakeRequest> received() const { return server_.requestsTo(path); }

  private:
    FakeServer server_;
    FakeAnswer answer_ = FakeAnswer::json(R"({"ok":true})", 201);
};

} // namespace ostrel::fake

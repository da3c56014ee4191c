#include "fake_feedback.h"

namespace ostrel::fake {

FakeFeedback::FakeFeedback(std::string address, int port) : server_(std::move(address), port) {
    server_.route("POST", path, [this](const FakeRequest&) { return answer_; });
}

} // namespace ostrel::fake

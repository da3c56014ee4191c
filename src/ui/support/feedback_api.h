#pragma once
// Sends the feedback form to the makers' feedback service: one JSON POST, bounded in time.

#include "async/task.h"

#include <chrono>
#include <stdexcept>
#include <string>

namespace ostrel::FeedbackAPI {

// Why a send failed. what() is the text the form shows, unchanged.
class SendError : public std::runtime_error {
  public:
    enum class Kind {
        server,  // the service answered outside 2xx: its own "error" text or the generic one
        network, // no answer: the transport failure's description
    };
    SendError(Kind kind, const std::string& description) : std::runtime_error(description), kind_(kind) {}
    Kind kind() const { return kind_; }

  private:
    Kind kind_;
};

inline constexpr std::chrono::milliseconds timeout = std::chrono::seconds(60);
inline constexpr const char* genericFailure = "Something went wrong. Try again later.";
inline constexpr const char* timedOut = "The request timed out.";

// POSTs {"message": message, "email": email} as application/json to `url` (the feedback service's
// "/api/feedback"). Returns on a 2xx answer within `bound`; throws SendError otherwise. Both texts
// are sent exactly as given.
Task<void> send(std::string url, std::string message, std::string email,
                std::chrono::milliseconds bound = timeout);

} // namespace ostrel::FeedbackAPI

#pragma once
// The demo: the stand-in services run inside the app on their own loopback addresses, with one
// logged-in demo account each whose usage moves on by itself, so a new user sees live numbers, the
// countdown, the notifications and every screen without any account.

#include "app/app_core.h"
#include "fake_chatgpt.h"
#include "fake_claude.h"
#include "fake_cursor.h"
#include "fake_feedback.h"

#include <string>

namespace ostrel {

class Demo {
  public:
    // Throws std::runtime_error when the demo cannot make its private folder.
    Demo();
    Demo(const Demo&) = delete;
    Demo& operator=(const Demo&) = delete;
    ~Demo();

    // Where the app finds the demo services; the same is put into the environment for the parts
    // that read it there (the feedback form).
    const ServiceConfig& services() const { return services_; }
    // A private folder for the demo's settings and website data, removed when the demo ends.
    const std::string& folder() const { return folder_; }

    // Logs the demo accounts in: their session cookies go into the web engine's store.
    Task<void> logIn(AppCore& core);

    // Sets every answer for the moment `elapsed` after the start (the timer calls it).
    void showUsageAt(std::chrono::seconds elapsed);

  private:
    fake::FakeClaude claude_;
    fake::FakeCursor cursor_;
    fake::FakeChatGPT chatgpt_;
    fake::FakeFeedback feedback_;
    ServiceConfig services_;
    std::string folder_;
    TimePoint start_;
    SourceId timer_;
};

} // namespace ostrel

#include "app_fixture.h"
#include "support/log_lines.h"
#include "support/loop.h"

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using fake::FakeAnswer;

class Environment : public AppFixture {
  protected:
    void showNumbers() {
        const auto now = std::chrono::system_clock::now();
        claude_.setUsageAnswer(FakeAnswer::json(fake::FakeClaude::usageJson(30, now + 2h, 10, now + 72h)));
        refresh(ProviderID::claude);
    }
};

TEST_F(Environment, NoTrayHostThenOneAppears) {
    watcher_.reset();
    test::pump(100ms);
    startApp();
    ostrel::test::LogCapture capture3;
    test::pump(300ms); // the bus says so asynchronously
    const std::string said = capture3.finish();
    EXPECT_NE((log_ + said).find("No system tray found"), std::string::npos) << said;
    EXPECT_FALSE(tray_->registered());
    logInEverywhere();
    showNumbers();
    watcher_ = std::make_unique<fake::FakeTrayWatcher>(hostBus_.get());
    ASSERT_TRUE(runLoopUntil([&] { return tray_->registered(); }, 5s));
    EXPECT_EQ(trayTitle(), "Claude 70% left, resets in 2h 0m");
}

#include <QCoreApplication>

#include "platform/MainLoopContract.h"
#include "platform/posix/loop/PosixBackgroundQueue.h"
#include "platform/qt/QtMainLoop.h"

namespace tovri::test {
namespace {

// QCoreApplication keeps them.
int argumentCount = 1;
char programName[] = "test";
char* arguments[] = {programName, nullptr};

class QtWorld final : public LoopWorld {
public:
    [[nodiscard]] MainLoop& loop() override { return loop_; }

    [[nodiscard]] BackgroundQueue& queue() override { return queue_; }

    void runUntil(const std::function<bool()>& condition) override {
        while (!condition()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }

private:
    QCoreApplication application_{argumentCount, arguments};
    QtMainLoop loop_;
    PosixBackgroundQueue queue_{loop_};
};

INSTANTIATE_TEST_SUITE_P(Qt, MainLoopContract,
                         testing::Values([]() -> std::unique_ptr<LoopWorld> { return std::make_unique<QtWorld>(); }));

}  // namespace
}  // namespace tovri::test

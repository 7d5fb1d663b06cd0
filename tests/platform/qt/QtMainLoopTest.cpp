#include <QCoreApplication>

#include "platform/MainLoopContract.h"
#include "platform/posix/PosixBackgroundQueue.h"
#include "platform/qt/QtMainLoop.h"

namespace tovri::test {
namespace {

class QtWorld final : public LoopWorld {
public:
    [[nodiscard]] MainLoop& loop() override { return loop_; }

    [[nodiscard]] BackgroundQueue& queue() override { return queue_; }

    void runUntil(const std::function<bool()>& condition) override {
        while (!condition()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }

private:
    static inline int count_ = 1;
    static inline char name_[] = "test";
    static inline char* arguments_[] = {name_, nullptr};

    QCoreApplication application_{count_, arguments_};
    QtMainLoop loop_;
    PosixBackgroundQueue queue_{loop_};
};

INSTANTIATE_TEST_SUITE_P(Qt, MainLoopContract,
                         testing::Values([]() -> std::unique_ptr<LoopWorld> { return std::make_unique<QtWorld>(); }));

}  // namespace
}  // namespace tovri::test

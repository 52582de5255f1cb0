#include "foundation/fsync.h"
#include "foundation/fthread.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace
{
class Worker : public FThread
{
public:
    Worker(const char* name, std::function<uint32_t(Worker&)> work) : FThread(name), body(std::move(work)) {}
    uint32_t run() override { return body(*this); }

private:
    std::function<uint32_t(Worker&)> body;
};

class Recorder : public FThreadObserver
{
public:
    void threadCreated(FThread* thread) override { created.push_back(thread); }
    void threadDestroyed(FThread* thread) override { destroyed.push_back(thread); }
    std::vector<FThread*> created;
    std::vector<FThread*> destroyed;
};

// A counted object that lives on the stack and only counts.
class Counted : public FUnknown
{
public:
    tresult queryInterface(const TUID, void** obj) override
    {
        *obj = nullptr;
        return kNoInterface;
    }
    uint32_t addRef() override { return uint32_t(++references); }
    uint32_t release() override { return uint32_t(--references); }
    std::atomic<int> references{1};
};

#ifndef _WIN32
// The nice value of one of our threads, field 19 of its stat line.
int niceOf(uint32_t threadId)
{
    std::ifstream stat("/proc/self/task/" + std::to_string(threadId) + "/stat");
    std::string line;
    std::getline(stat, line);
    std::istringstream fields(line.substr(line.rfind(')') + 2));
    std::string field;
    for (int i = 3; i <= 19; ++i)
        fields >> field;
    return std::stoi(field);
}
#endif

TEST(FThreadTest, RunsOnItsOwnThreadAndGivesItsExitCode)
{
    Recorder recorder;
    setThreadObserver(&recorder);
    FThread* made = nullptr;
    {
        std::atomic<bool> sawItself{false};
        std::atomic<uint32_t> idInside{0};
        std::string nameInside;
        Worker worker("tremolin-worker-thread",
                      [&](Worker& self)
                      {
                          sawItself = self.isCurrentThread();
                          idInside = FThread::currentThreadId();
#ifndef _WIN32
                          std::getline(std::ifstream("/proc/thread-self/comm"), nameInside);
#endif
                          return 7u;
                      });
        made = &worker;
        uint32_t code = 0;
        EXPECT_TRUE(worker.waitFor(0)) << "never started";
        EXPECT_FALSE(worker.getExitCode(code));
        worker.start();
        worker.start(); // once only
        ASSERT_NE(worker.getHandle(), nullptr);
        EXPECT_TRUE(worker.waitFor(FThread::kForever));
        EXPECT_TRUE(worker.getExitCode(code));
        EXPECT_EQ(code, 7u);
        EXPECT_TRUE(sawItself);
        EXPECT_EQ(idInside.load(), worker.getThreadId());
        EXPECT_FALSE(worker.isCurrentThread());
        EXPECT_STREQ(worker.getName().text8(), "tremolin-worker-thread");
#ifndef _WIN32
        EXPECT_EQ(nameInside, "tremolin-worker") << "Linux keeps 15 bytes";
#endif
    }
    setThreadObserver(nullptr);
    EXPECT_EQ(recorder.created, std::vector<FThread*>{made});
    EXPECT_EQ(recorder.destroyed, std::vector<FThread*>{made});
}

TEST(FThreadTest, PrioritiesAndProcessors)
{
    EXPECT_EQ(FThread::threadPriorityFor(0, FThread::kHighClass), -15);
    EXPECT_EQ(FThread::threadPriorityFor(1, FThread::kNormalClass), -1);
    EXPECT_EQ(FThread::threadPriorityFor(1, FThread::kHighClass), -2);
    EXPECT_EQ(FThread::threadPriorityFor(4, FThread::kNormalClass), 2);
    EXPECT_EQ(FThread::threadPriorityFor(4, FThread::kBelowNormalClass), 1);
    EXPECT_EQ(FThread::threadPriorityFor(5, FThread::kNormalClass), 15);

    FEvent finish;
    Worker worker("priorities", [&](Worker&) { return finish.wait() ? 0u : 1u; });
    EXPECT_TRUE(worker.setPriority(6)) << "without a thread the level is only kept";
    EXPECT_EQ(worker.getPriority(), 6);
    EXPECT_FALSE(worker.setProcessor(0)) << "without a thread";
    EXPECT_EQ(worker.getProcessor(), 0);
    worker.start();
#ifndef _WIN32
    const int processNice = niceOf(FThread::currentThreadId());
    EXPECT_EQ(niceOf(worker.getThreadId()), processNice) << "level 6 was refused at start";
#endif
    EXPECT_FALSE(worker.setPriority(6));
    EXPECT_EQ(worker.getPriority(), 6);
    EXPECT_TRUE(worker.setPriority(1));
#ifndef _WIN32
    EXPECT_EQ(niceOf(worker.getThreadId()), std::min(processNice + 2, 19));
#endif
    EXPECT_TRUE(worker.setPriority(0));
#ifndef _WIN32
    EXPECT_EQ(niceOf(worker.getThreadId()), 19) << "idle";
#endif

    EXPECT_FALSE(worker.setProcessor(-2));
    EXPECT_FALSE(worker.setProcessor(64));
    EXPECT_TRUE(worker.setProcessor(-1)) << "back to all of the process's processors";
    bool bound = false;
    for (int32_t index = 0; index < 64 && !bound; ++index)
        bound = worker.setProcessor(index);
    EXPECT_TRUE(bound) << "the process may use at least one processor";
    finish.signal();
    EXPECT_TRUE(worker.waitFor(FThread::kForever));
}

TEST(FThreadTest, TerminateEndsOrAsksTheThreadToEnd)
{
    FEvent running;
    FEvent left;
    std::atomic<bool> leftLoop{false};
    Worker worker("terminated",
                  [&](Worker& self)
                  {
                      running.signal();
                      while (!self.terminationRequested())
                          std::this_thread::yield();
                      leftLoop = true;
                      left.signal();
                      return 0u;
                  });
    worker.start();
    running.wait();
    worker.terminate();
    EXPECT_EQ(worker.getHandle(), nullptr);
    EXPECT_TRUE(worker.waitFor(0)) << "nothing left to wait for";
#ifdef _WIN32
    EXPECT_FALSE(leftLoop) << "the thread was ended inside its loop";
#else
    left.wait();
    EXPECT_TRUE(leftLoop) << "the thread saw the request and left";
#endif
}

TEST(FThreadTest, ProcessClass)
{
    EXPECT_EQ(FThread::setProcessBoost(true), FThread::setProcessBoost(true));
#ifndef _WIN32
    EXPECT_FALSE(FThread::setProcessBoost(true)) << "POSIX has no boost to switch";
#endif
    EXPECT_EQ(FThread::getProcessClass(), FThread::kNormalClass);
#ifndef _WIN32
    const int startedAt = niceOf(FThread::currentThreadId());
#endif
    if (!FThread::setProcessHigh(true)) GTEST_SKIP() << "this process may not raise its priority";
    EXPECT_EQ(FThread::getProcessClass(), FThread::kHighClass);
#ifndef _WIN32
    EXPECT_EQ(niceOf(FThread::currentThreadId()), std::max(startedAt - 10, -20));
#endif
    EXPECT_TRUE(FThread::setProcessHigh(false));
    EXPECT_EQ(FThread::getProcessClass(), FThread::kNormalClass);
#ifndef _WIN32
    EXPECT_EQ(niceOf(FThread::currentThreadId()), startedAt) << "normal is where the process started";
#endif
}

TEST(FThreadLocalTest, EachThreadHasItsObjectAndEndingThreadsGiveItBack)
{
    FThreadLocal* local = FThreadLocal::create();
    ASSERT_NE(local, nullptr);
    Counted mine, theirs, replacement;
    EXPECT_EQ(local->get(), nullptr);
    EXPECT_TRUE(local->set(&mine));
    EXPECT_EQ(mine.references, 2);

    std::atomic<FUnknown*> seenThere{&mine};
    Worker worker("local",
                  [&](Worker&)
                  {
                      seenThere = local->get();
                      local->set(&theirs);
                      return 0u;
                  });
    worker.start();
    worker.waitFor(FThread::kForever);
    EXPECT_EQ(seenThere.load(), nullptr) << "another thread has its own slot";
    EXPECT_EQ(theirs.references, 1) << "given back when the thread ended";
    EXPECT_EQ(local->get(), &mine);

    EXPECT_TRUE(local->set(&replacement));
    EXPECT_EQ(mine.references, 1);
    EXPECT_EQ(replacement.references, 2);
    delete local;
    EXPECT_EQ(replacement.references, 1);
}

TEST(FThreadWatchTest, FindsThreadsStartedAfterTheBaseline)
{
    FThreadWatch watch;
    ASSERT_TRUE(watch.takeBaseline());
    FEvent finish(nullptr, true);
    FSemaphore ready;
    std::atomic<uint32_t> ids[2] = {};
    std::vector<std::thread> others;
    for (int i = 0; i < 2; ++i)
        others.emplace_back(
            [&, i]
            {
                ids[i] = FThread::currentThreadId();
                ready.release(1);
                finish.wait();
            });
    ready.wait();
    ready.wait();
    EXPECT_GE(watch.findNewThreads(), 2);
    for (const auto& id : ids)
    {
        bool found = false;
        for (int32_t i = 0; i < watch.getNewThreadCount(); ++i)
            found = found || watch.getNewThreadId(i) == id.load();
        EXPECT_TRUE(found) << id.load();
    }
    void* opened = watch.openNewThread(0);
    EXPECT_NE(opened, nullptr);
    EXPECT_TRUE(FThreadWatch::setPriorityOf(opened, 1));
    EXPECT_FALSE(FThreadWatch::setPriorityOf(opened, 6));
    FThreadWatch::close(opened);
    EXPECT_EQ(watch.openNewThread(-1), nullptr);
    EXPECT_EQ(watch.openNewThread(watch.getNewThreadCount()), nullptr);
    finish.signal();
    for (std::thread& other : others)
        other.join();
}
} // namespace

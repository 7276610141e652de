// Locks and semaphores, each beside the plain call that does the same.
#include <atomic>
#include <mutex>
#include <thread>

#include <benchmark/benchmark.h>
#include <pthread.h>

#include "concurrency/CMutex.h"
#include "concurrency/CSemaphore.h"
#include "marl/HierarchicalException.h"

namespace {

void LockLoam(benchmark::State& state)
{
    CMutex mutex;
    for (auto _ : state) {
        mutex.Lock();
        benchmark::ClobberMemory();
        mutex.Unlock();
    }
}

void LockStandard(benchmark::State& state)
{
    std::mutex mutex;
    for (auto _ : state) {
        mutex.lock();
        benchmark::ClobberMemory();
        mutex.unlock();
    }
}

void ReenterLoam(benchmark::State& state)
{
    CMutex mutex(true);
    mutex.Lock();
    for (auto _ : state) {
        mutex.Lock();
        benchmark::ClobberMemory();
        mutex.Unlock();
    }
    mutex.Unlock();
}

void ReenterStandard(benchmark::State& state)
{
    std::recursive_mutex mutex;
    mutex.lock();
    for (auto _ : state) {
        mutex.lock();
        benchmark::ClobberMemory();
        mutex.unlock();
    }
    mutex.unlock();
}

// A semaphore as one would write it with nothing else at hand.
class CPlainSemaphore
{
public:
    void Post()
    {
        pthread_mutex_lock(&mMutex);
        ++mCount;
        pthread_cond_signal(&mCondition);
        pthread_mutex_unlock(&mMutex);
    }

    void Wait()
    {
        pthread_mutex_lock(&mMutex);
        while (mCount == 0)
            pthread_cond_wait(&mCondition, &mMutex);
        --mCount;
        pthread_mutex_unlock(&mMutex);
    }

private:
    pthread_mutex_t mMutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t mCondition = PTHREAD_COND_INITIALIZER;
    int mCount = 0;
};

// One thread posts and waits, the other waits and posts: each round is two wake-ups.
template <class Semaphore>
void PingPong(benchmark::State& state)
{
    Semaphore ping;
    Semaphore pong;
    std::atomic<bool> isOver{false};
    std::thread other([&] {
        for (;;) {
            ping.Wait();
            if (isOver) return;
            pong.Post();
        }
    });
    for (auto _ : state) {
        ping.Post();
        pong.Wait();
    }
    isOver = true;
    ping.Post();
    other.join();
}

// Nobody waits and nobody has to.
template <class Semaphore>
void PostAndTake(benchmark::State& state)
{
    Semaphore semaphore;
    for (auto _ : state) {
        semaphore.Post();
        semaphore.Wait();
    }
}

}  // namespace

BENCHMARK(LockLoam);
BENCHMARK(LockStandard);
BENCHMARK(ReenterLoam);
BENCHMARK(ReenterStandard);
BENCHMARK(PingPong<CSemaphore>)->UseRealTime();
BENCHMARK(PingPong<CPlainSemaphore>)->UseRealTime();
BENCHMARK(PostAndTake<CSemaphore>);
BENCHMARK(PostAndTake<CPlainSemaphore>);

int main(int argc, char** argv)
{
    // The C library takes shortcuts in a process that never had a second thread. Nobody locks in
    // one.
    std::thread([] {}).join();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}

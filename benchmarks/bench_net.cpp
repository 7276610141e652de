// TCP over the loopback, beside plain sockets: echo round trips, lines, and how soon a cancel is
// heard of. For one pinned core: `taskset -c 1 bench_net`.
#include <algorithm>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include "marl/HierarchicalException.h"
#include "net/CNetConnection.h"

namespace {

constexpr std::size_t kMessage = 64;  // bytes
constexpr std::size_t kLines = 10'000'000 / 80;

CThread const* SomeThread()
{
    static int const place = 0;
    return reinterpret_cast<CThread const*>(&place);
}

// Plain sockets, connected to each other.
struct PlainPair
{
    PlainPair()
    {
        int const listener = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        auto* const any = reinterpret_cast<sockaddr*>(&address);
        mClient = socket(AF_INET, SOCK_STREAM, 0);
        if (bind(listener, any, length) == -1 || listen(listener, 1) == -1 ||
            getsockname(listener, any, &length) == -1 || connect(mClient, any, length) == -1)
            throw std::runtime_error("no loopback");
        mServer = accept(listener, nullptr, nullptr);
        close(listener);
    }

    PlainPair(PlainPair const&) = delete;
    PlainPair& operator=(PlainPair const&) = delete;

    ~PlainPair()
    {
        close(mClient);
        close(mServer);
    }

    // 0 sets no limit, as with `CNetConnection`.
    void SetTimeouts(int seconds) const
    {
        timeval const limit = {seconds, 0};
        for (int const socket : {mClient, mServer}) {
            for (int const option : {SO_RCVTIMEO, SO_SNDTIMEO})
                setsockopt(socket, SOL_SOCKET, option, &limit, sizeof limit);
        }
    }

    int mClient;
    int mServer;
};

struct LoamPair
{
    LoamPair()
    {
        CNetConnection listener;
        unsigned short const port = listener.SetServerPort(false, 0, 0, 1);
        mClient.ResolveRemoteHost("127.0.0.1", port);
        mClient.Connect(0);
        mServer.reset(listener.WaitClientConnection());
        listener.Disconnect();
    }

    CNetConnection mClient;
    std::unique_ptr<CNetConnection> mServer;
};

bool ReceiveAll(int socket, char* buffer, std::size_t size)
{
    for (std::size_t done = 0; done < size;) {
        ssize_t const count = recv(socket, buffer + done, size - done, 0);
        if (count <= 0) return false;
        done += static_cast<std::size_t>(count);
    }
    return true;
}

void EchoPlain(benchmark::State& state)
{
    PlainPair const pair;
    pair.SetTimeouts(static_cast<int>(state.range(0)));
    std::thread echo([&] {
        char buffer[kMessage];
        while (ReceiveAll(pair.mServer, buffer, kMessage))
            send(pair.mServer, buffer, kMessage, MSG_NOSIGNAL);
    });
    char buffer[kMessage] = "echo";
    for (auto _ : state) {
        send(pair.mClient, buffer, kMessage, MSG_NOSIGNAL);
        ReceiveAll(pair.mClient, buffer, kMessage);
    }
    shutdown(pair.mClient, SHUT_RDWR);
    echo.join();
}

void EchoLoam(benchmark::State& state)
{
    LoamPair pair;
    auto const seconds = static_cast<unsigned int>(state.range(0));
    std::thread echo([&] {
        try {
            char buffer[kMessage];
            for (;;) {
                unsigned int size = kMessage;
                pair.mServer->ReceiveData(buffer, size, seconds);
                pair.mServer->SendData(buffer, size, seconds);
            }
        } catch (HierarchicalException const&) {
            // The client has gone.
        }
    });
    char buffer[kMessage] = "echo";
    for (auto _ : state) {
        pair.mClient.SendData(buffer, kMessage, seconds);
        unsigned int size = kMessage;
        pair.mClient.ReceiveData(buffer, size, seconds);
    }
    pair.mClient.CancelCurrentOperation(SomeThread());
    echo.join();
}

std::string Lines()
{
    std::string lines;
    for (std::size_t i = 0; i < kLines; ++i)
        lines += std::string(79, static_cast<char>('a' + i % 26)) + "\n";
    return lines;
}

void SendAll(int socket, std::string const& bytes)
{
    for (std::size_t done = 0; done < bytes.size();) {
        ssize_t const count = send(socket, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (count == -1) return;
        done += static_cast<std::size_t>(count);
    }
}

void LinesByteByByte(benchmark::State& state)
{
    std::string const lines = Lines();
    for (auto _ : state) {
        PlainPair const pair;
        std::thread sender([&] { SendAll(pair.mServer, lines); });
        for (std::size_t i = 0; i < kLines; ++i) {
            std::string line;
            char next = 0;
            while (recv(pair.mClient, &next, 1, 0) == 1 && next != '\n')
                line += next;
            benchmark::DoNotOptimize(line.data());
        }
        sender.join();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * lines.size()));
}

void LinesLoam(benchmark::State& state)
{
    std::string const lines = Lines();
    for (auto _ : state) {
        LoamPair pair;
        std::thread sender([&] {
            for (std::size_t done = 0; done < lines.size();)
                done += pair.mServer->SendData(lines.data() + done,
                                               static_cast<unsigned int>(lines.size() - done), 0);
        });
        std::string line;
        for (std::size_t i = 0; i < kLines; ++i)
            pair.mClient.ReceiveLine(&line, 5, 0);
        sender.join();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * lines.size()));
}

// From the cancel to the moment when the blocked call has thrown.
void CancelWakesUp(benchmark::State& state)
{
    using Clock = std::chrono::steady_clock;
    std::vector<double> times;  // microseconds
    for (auto _ : state) {
        LoamPair pair;
        Clock::time_point woken;
        std::thread reader([&] {
            char byte = 0;
            unsigned int size = 1;
            try {
                pair.mServer->SendData("x", 1, 0);
                pair.mServer->ReceiveData(&byte, size, 0);
            } catch (HierarchicalException const&) {
                woken = Clock::now();
            }
        });
        char byte = 0;
        unsigned int size = 1;
        pair.mClient.ReceiveData(&byte, size, 0);
        std::this_thread::sleep_for(std::chrono::microseconds(200));  // so that it blocks
        Clock::time_point const start = Clock::now();
        pair.mServer->CancelCurrentOperation(SomeThread());
        reader.join();
        times.push_back(std::chrono::duration<double, std::micro>(woken - start).count());
    }
    std::sort(times.begin(), times.end());
    state.counters["p50_us"] = times[times.size() / 2];
    state.counters["p99_us"] = times[times.size() * 99 / 100];
}

}  // namespace

// Without a limit of time, and with one, which both sides give the system alike.
BENCHMARK(EchoPlain)->ArgName("seconds")->Arg(0)->Arg(5)->UseRealTime();
BENCHMARK(EchoLoam)->ArgName("seconds")->Arg(0)->Arg(5)->UseRealTime();
BENCHMARK(LinesByteByByte)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(LinesLoam)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(CancelWakesUp)->UseRealTime()->Iterations(1000);

BENCHMARK_MAIN();

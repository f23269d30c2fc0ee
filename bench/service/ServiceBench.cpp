// How fast sxm-service answers what a device asks most: the line-up (2000 live channels, as a
// large line-up would be), the program data of every channel, and audio segments.
#include "sxmservice/Server.h"

#include <benchmark/benchmark.h>
#include <httplib.h>

#include <memory>
#include <string>

namespace {

using sxm::service::Options;
using sxm::service::Server;

struct Running
{
    std::unique_ptr<Server> server;
    std::unique_ptr<httplib::Client> client;
    httplib::Headers cookie;
};

Running start(int channels)
{
    Options options;
    options.channels = channels;
    Running running;
    running.server = std::make_unique<Server>(options);
    const int port = running.server->start();
    running.client = std::make_unique<httplib::Client>("127.0.0.1", port);
    running.client->set_keep_alive(true);
    running.client->set_tcp_nodelay(true);
    const auto reply = running.client->Post(
        "/api/v1/session/login",
        R"({"user":"demo","password":"demo","device":{"make":"Bench","model":"B","mac":"00:11:22:33:44:55"}})",
        "application/json");
    if (reply && reply->status == 200) {
        const std::string setCookie = reply->get_header_value("Set-Cookie");
        running.cookie.emplace("Cookie", setCookie.substr(0, setCookie.find(';')));
    }
    return running;
}

void fetch(benchmark::State& state, int channels, const std::string& path)
{
    Running running = start(channels);
    std::size_t bytes = 0;
    for (auto _ : state) {
        const auto reply = running.client->Get(path.c_str(), running.cookie);
        if (!reply || reply->status != 200) {
            state.SkipWithError(("request failed: " + path).c_str());
            break;
        }
        bytes += reply->body.size();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
    state.counters["bytes/reply"] =
        state.iterations() ? static_cast<double>(bytes) / static_cast<double>(state.iterations())
                           : 0;
}

void BM_LineUp(benchmark::State& state)
{
    fetch(state, static_cast<int>(state.range(0)), "/api/v1/lineup");
}
BENCHMARK(BM_LineUp)->Arg(60)->Arg(2000)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_CutsOfAllChannels(benchmark::State& state)
{
    fetch(state, static_cast<int>(state.range(0)), "/api/v1/pdt/cuts");
}
BENCHMARK(BM_CutsOfAllChannels)->Arg(2000)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_AudioSegment(benchmark::State& state)
{
    Running running = start(60);
    const std::string id = running.server->catalog().channels()[0].id;
    const long long live = sxm::service::systemClockMs() / 10000;
    const std::string path = "/api/v1/streams/live/" + id + "/segments/" +
                             std::to_string(state.range(0)) + "/" + std::to_string(live - 10);
    std::size_t bytes = 0;
    for (auto _ : state) {
        const auto reply = running.client->Get(path.c_str(), running.cookie);
        if (!reply || reply->status != 200) {
            state.SkipWithError("segment request failed");
            break;
        }
        bytes += reply->body.size();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
}
BENCHMARK(BM_AudioSegment)->Arg(0)->Arg(3)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_BuildCatalog(benchmark::State& state)
{
    for (auto _ : state) {
        sxm::service::Catalog catalog(1, static_cast<int>(state.range(0)), 1795348800000LL);
        benchmark::DoNotOptimize(catalog.channels().data());
    }
}
BENCHMARK(BM_BuildCatalog)->Arg(60)->Arg(2000)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();

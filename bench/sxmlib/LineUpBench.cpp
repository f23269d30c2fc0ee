// How long sxm_channel_list takes for a line-up of 2000 live channels (2333 channels, about
// 3700 records with the genre and Xtra records): the HTTP exchange through the module's curl
// hook, the JSON, and one channel callback per record, each record's texts on sxm_malloc.

#include "sxmservice/Server.h"

#include <mivosdk/CMRoot.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoValue.h>

#include <sxmlib.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>

namespace {

int channelRecords = 0;

int countChannel(void*, sxm_content* channel)
{
    channelRecords += channel && channel->title ? 1 : 0;
    return 0;
}

int ignoreError(void*, sxm_errorNotification*)
{
    return 0;
}

int ignoreCuts(void*, sxm_pdt_cuts*, int)
{
    return 0;
}

void store(CMMemoryRoot& root, const CMPath& path, const std::string& text)
{
    MivoValue value;
    value.setString(QString::fromStdString(text));
    root.setValue(path, value);
}

struct Setup
{
    std::unique_ptr<sxm::service::Server> server;
    CMMemoryRoot root;
    bool ok = false;
};

Setup& setUp()
{
    static Setup setup;
    if (setup.server)
        return setup;
    sxm::service::Options options;
    options.channels = 2000;
    setup.server = std::make_unique<sxm::service::Server>(options);
    setup.server->start();
    CMSetRoot(&setup.root);
    store(setup.root, MivoSiriusSettingsConfigUrlPath(), setup.server->configUrl());
    store(setup.root, MivoSiriusSettingsKeyPath(), options.fixedKeyHex);
    store(setup.root, MivoSiriusSettingsDeviceMakePath(), "Bench");
    store(setup.root, MivoSiriusSettingsDeviceModelPath(), "B");
    store(setup.root, MivoNetworkStateCurrentMAC(), "00:11:22:33:44:55");
    sxm_callbacks callbacks{};
    callbacks.onChannel = countChannel;
    callbacks.onError = ignoreError;
    callbacks.onPdtCuts = ignoreCuts;
    setup.ok = sxm_init() == 1 && sxm_registerCallbacks(callbacks) == 1 &&
               sxm_verify_account("demo", "demo") == 1;
    if (!setup.ok)
        std::fprintf(stderr, "set-up failed: %s\n", sxm_get_error());
    return setup;
}

void BM_ChannelList2000(benchmark::State& state)
{
    if (!setUp().ok) {
        state.SkipWithError("the library could not sign in");
        return;
    }
    for (auto _ : state) {
        channelRecords = 0;
        if (sxm_channel_list() != 1) {
            state.SkipWithError(sxm_get_error());
            break;
        }
    }
    state.counters["records"] = channelRecords;
}
BENCHMARK(BM_ChannelList2000)->Unit(benchmark::kMillisecond)->MinTime(2.0);

} // namespace

BENCHMARK_MAIN();

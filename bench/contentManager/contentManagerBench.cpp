// How long the content manager takes to take in a 2000-channel line-up, and to answer the
// all-channels lists (channel ids sorted by number and by name, and their rows).

#include "contentManager/contentManager.h"
#include "siriusLib/siriusLib.h"
#include "syntheticLineUp.h"

#include <benchmark/benchmark.h>

namespace {

constexpr int kChannels = 2000;
constexpr int kGenres = 10;

void LoadLineUp(benchmark::State& state)
{
    SiriusLib lib(true);
    const QList<MivoSiriusContent> records =
        bench::lineUp(kChannels, kGenres, bench::Numbering::Scattered);
    for (auto _ : state) {
        ContentManager manager(&lib, true);
        for (const MivoSiriusContent& record : records)
            manager.on_siriusLib_channel(record);
        benchmark::DoNotOptimize(manager.channelCount());
    }
    state.counters["channels"] = kChannels;
}
BENCHMARK(LoadLineUp)->Unit(benchmark::kMillisecond);

void AllChannelsRows(benchmark::State& state, const QString& sortRole)
{
    SiriusLib lib(true);
    ContentManager manager(&lib, true);
    for (const MivoSiriusContent& record :
         bench::lineUp(kChannels, kGenres, bench::Numbering::Scattered))
        manager.on_siriusLib_channel(record);
    for (auto _ : state) {
        const QVector<int> ids = manager.channelIds(QVariantHash(), sortRole);
        QList<MivoRoles> rows;
        rows.reserve(ids.size());
        for (int id : ids) {
            MivoRoles row = manager.channelRolesById(id, true);
            row.removeEntry(MivoRoles::Value());
            rows.append(row);
        }
        benchmark::DoNotOptimize(rows.size());
    }
}
BENCHMARK_CAPTURE(AllChannelsRows, byNumber, MivoSiriusContent::SiriusChannelNumber())
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(AllChannelsRows, byName, MivoSiriusContent::Title())
    ->Unit(benchmark::kMillisecond);

} // namespace

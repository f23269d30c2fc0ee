// How long the content manager takes to take in a 2000-channel line-up, and to answer the
// all-channels lists (channel ids sorted by number and by name, and their rows).

#include "contentManager/contentManager.h"
#include "siriusLib/siriusLib.h"

#include <QCoreApplication>
#include <benchmark/benchmark.h>

namespace {

constexpr int kChannels = 2000;
constexpr int kGenres = 10;

QList<MivoSiriusContent> lineUp()
{
    QList<MivoSiriusContent> records;
    for (int i = 0; i < kChannels; ++i) {
        // Every fifth channel is listed under a second genre too, as the service does.
        for (int listing = 0; listing < (i % 5 == 0 ? 2 : 1); ++listing) {
            const int genre = (i + listing * 3) % kGenres;
            MivoSiriusContent content;
            content.setAssetType(MivoSiriusAssetType::LiveChannel)
                .setChannelId(QStringLiteral("ch%1").arg(i))
                .setAssetGuid(QStringLiteral("guid-%1").arg(i))
                .setTitle(QStringLiteral("Channel %1").arg((i * 7919) % kChannels))
                .setDescription(QStringLiteral("The music of channel %1").arg(i))
                .setGenre(QStringLiteral("Genre %1").arg(genre))
                .setGenreKey(QStringLiteral("genre%1").arg(genre))
                .setCategory(QStringLiteral("Music"))
                .setSiriusChannelNumber((i * 31) % 1000 + 1)
                .setSortOrder(i)
                .setLogos({MivoSiriusLogo()
                               .setUrl(QStringLiteral("http://x/%1/300.png").arg(i))
                               .setWidth(300)
                               .setHeight(300),
                           MivoSiriusLogo()
                               .setUrl(QStringLiteral("http://x/%1/100.png").arg(i))
                               .setWidth(100)
                               .setHeight(100)});
            records.append(content);
        }
    }
    records.append(MivoSiriusContent()); // end mark
    return records;
}

void LoadLineUp(benchmark::State& state)
{
    SiriusLib lib(true);
    const QList<MivoSiriusContent> records = lineUp();
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
    for (const MivoSiriusContent& record : lineUp())
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

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

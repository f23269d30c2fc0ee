// The browse tree's own work with a 2000-channel line-up, in-process over the scripted fake of
// the client library (so that the figures are the module's, not the service's or the network's):
// the first and a repeated get-rows of "All Channels", and one program-data tick with 2000
// channels registered and 2000 cuts pending, due or not.

#include "contentManager/contentManager.h"
#include "nodes/channelNode.h"
#include "nodes/nodesFactory.h"
#include "siriusLib/siriusLib.h"
#include "syntheticLineUp.h"

#include <mivosdk/CMNodes.h>
#include <mivosdk/CMRequest.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoRowsRoles.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QEventLoop>
#include <QTimer>
#include <benchmark/benchmark.h>

#include <memory>
#include <stdexcept>

namespace {

constexpr int kChannels = 2000;
constexpr int kGenres = 10;
/// A cut becomes current this long after its time stamp.
constexpr qint64 kCutDelayMs = 160000;

/// One cut per channel, stamped `ageMs` before now; `round` varies the texts.
QList<MivoSiriusPdtCut> cuts(qint64 ageMs, int round = 0)
{
    const qint64 time = QDateTime::currentMSecsSinceEpoch() - ageMs;
    QList<MivoSiriusPdtCut> list;
    for (int i = 0; i < kChannels; ++i) {
        list.append(MivoSiriusPdtCut()
                        .setChannelId(QStringLiteral("ch%1").arg(i))
                        .setTime(time)
                        .setDuration(200)
                        .setArtist(QStringLiteral("Artist %1").arg(i))
                        .setTitle(QStringLiteral("Title %1.%2").arg(i).arg(round)));
    }
    return list;
}

/// The module's browse state over the fake library: the content manager with the line-up
/// loaded, a node registry and a nodes factory, all on this thread.
struct Browse
{
    Browse()
    {
        for (const MivoSiriusContent& record :
             bench::lineUp(kChannels, kGenres, bench::Numbering::InOrder))
            manager.on_siriusLib_channel(record);
    }

    CMPath allChannels()
    {
        return factory->makeChannelNode(QStringLiteral("All Channels"), QString(),
                                        MivoSiriusContent::SiriusChannelNumber(), QString(), 0,
                                        false, true);
    }

    /// Answers a get-rows request at `path` (the whole list) the way the worker hands it over.
    int getRows(const CMPath& path)
    {
        const CMGetRowsRequest request(path, 0, -1);
        CMNode* node = nodes.node(path);
        if (!node)
            throw std::runtime_error("no node at " + path.toEncoded().toStdString());
        node->getRowsRequest(request);
        while (!request.reply().isFinished())
            QCoreApplication::processEvents();
        return MivoRowsRoles(request.reply().result().toHash()).rows().size();
    }

    /// A fresh factory, so that the next get-rows builds its list anew.
    void renewFactory()
    {
        factory->clear();
        factory.reset();
        // The factory lets its nodes go with deleteLater(), which only an event loop carries out.
        QEventLoop loop;
        QTimer::singleShot(0, &loop, &QEventLoop::quit);
        loop.exec();
        factory = std::make_unique<NodesFactory>(&nodes, MivoSiriusBrowsePath(), &manager, true);
    }

    SiriusLib lib{true};
    ContentManager manager{&lib, true};
    CMNodes nodes;
    std::unique_ptr<NodesFactory> factory =
        std::make_unique<NodesFactory>(&nodes, MivoSiriusBrowsePath(), &manager, true);
};

void AllChannelsFirstGetRows(benchmark::State& state)
{
    Browse browse;
    int rows = 0;
    for (auto _ : state) {
        state.PauseTiming();
        browse.renewFactory();
        const CMPath path = browse.allChannels();
        state.ResumeTiming();
        rows = browse.getRows(path);
    }
    state.counters["rows"] = rows;
}
BENCHMARK(AllChannelsFirstGetRows)->Unit(benchmark::kMillisecond);

void AllChannelsRepeatedGetRows(benchmark::State& state)
{
    Browse browse;
    const CMPath path = browse.allChannels();
    browse.getRows(path);
    int rows = 0;
    for (auto _ : state)
        rows = browse.getRows(path);
    state.counters["rows"] = rows;
}
BENCHMARK(AllChannelsRepeatedGetRows)->Unit(benchmark::kMillisecond);

/// All Channels open (a rows path held, so the node keeps its titles current) and registered
/// for every channel's program data.
struct OpenAllChannels : Browse
{
    OpenAllChannels()
    {
        path = allChannels();
        getRows(path);
        nodes.node(path)->addRowsPath(path);
    }
    CMPath path;
};

void PdtTickNothingDue(benchmark::State& state)
{
    OpenAllChannels browse;
    // Cuts of tracks that start in a minute: pending until long after the benchmark.
    browse.manager.on_siriusLib_pdtCuts(cuts(-60000));
    for (auto _ : state)
        browse.manager.on_pdtTimer_timeout();
    state.counters["pendingCuts"] = kChannels;
}
BENCHMARK(PdtTickNothingDue)->Unit(benchmark::kMicrosecond);

void PdtTickAllDue(benchmark::State& state)
{
    OpenAllChannels browse;
    // Two polls with other tracks each, so that every round changes every title.
    const QList<MivoSiriusPdtCut> arriving[] = {cuts(kCutDelayMs + 1000, 0),
                                                cuts(kCutDelayMs + 1000, 1)};
    int round = 0;
    for (auto _ : state) {
        // A new poll replaces the pending cuts and ticks at once: every cut becomes current, and
        // the open list rewrites every row's title.
        browse.manager.on_siriusLib_pdtCuts(arriving[round++ % 2]);
    }
    state.counters["dueCuts"] = kChannels;
}
BENCHMARK(PdtTickAllDue)->Unit(benchmark::kMillisecond);

} // namespace

#include "siriusLib/siriusLib.h"

#include "QtTestSupport.h"
#include "fakeSxmLib.h"

#include <QThread>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

using testsupport::waitUntil;

namespace {

/// One bridge per flavour for the whole test program: its thread runs for the process's life.
SiriusLib* bridge(bool fullFeatured = true)
{
    static SiriusLib* full = SiriusLib::create(true);
    static SiriusLib* playbackOnly = SiriusLib::create(false);
    return fullFeatured ? full : playbackOnly;
}

template <class T>
T waitFor(const CMReply<T>& reply)
{
    EXPECT_TRUE(reply.waitForFinished(5000));
    return reply.result();
}

QString errorText(const CMVoidReply& reply)
{
    EXPECT_TRUE(reply.waitForFinished(5000));
    EXPECT_TRUE(reply.isError());
    return reply.error().message().toString();
}

class SiriusLibTest : public ::testing::Test
{
protected:
    void SetUp() override { fake::reset(); }
    /// Registers the bridge's callbacks with the fake, as initialize does.
    void initialize(SiriusLib* lib)
    {
        ASSERT_TRUE(waitFor(lib->initialize(MivoSiriusAudioBitrate::Kbps96)));
    }
};

} // namespace

TEST_F(SiriusLibTest, CreateBuildsTheBridgeOnItsOwnThreadAndCallsThereRunAtOnce)
{
    SiriusLib* lib = bridge();
    ASSERT_NE(lib, nullptr);
    EXPECT_NE(lib->thread(), QThread::currentThread());

    CMReply<bool> ranAtOnce;
    lib->async([lib, ranAtOnce] {
        // An operation called from the library thread runs before it returns.
        const CMReply<bool> stop = lib->stop();
        ranAtOnce.setResult(stop.isFinished());
    });
    EXPECT_TRUE(waitFor(ranAtOnce));

    lib->async(SiriusLibFunction());
    EXPECT_TRUE(waitFor(lib->stop())) << "an empty function does not end the library thread";
}

// A playback-only module still gets the line-up, program data, errors and track data; a failed
// step ends the sequence (a failed sxm_init is met end to end).
TEST_F(SiriusLibTest, InitializeRegistersTheCallbacksOfItsKindAndSelectsTheBitrate)
{
    initialize(bridge());
    EXPECT_TRUE(fake::calls("sxm_selectStreamIndex(2)"));
    EXPECT_EQ(fake::library().callbacks.context, bridge());

    initialize(bridge(false));
    const sxm_callbacks playback = fake::library().callbacks;
    EXPECT_EQ(playback.onRecents, nullptr);
    for (void* callback : {(void*)playback.onError, (void*)playback.onTrackMetadata,
                           (void*)playback.onChannelBitrateChanged, (void*)playback.onChannelBusy,
                           (void*)playback.onChannel, (void*)playback.onPdtCuts})
        EXPECT_NE(callback, nullptr);

    fake::reset();
    fake::result("sxm_registerCallbacks", 0);
    EXPECT_EQ(errorText(bridge()->initialize(MivoSiriusAudioBitrate::Kbps64)),
              QStringLiteral("Unable to register callback"));
    EXPECT_FALSE(fake::calls("sxm_selectStreamIndex(1)"));
}

namespace {

std::vector<uint32_t> ticksFrom(std::thread::id thread)
{
    std::lock_guard<std::mutex> lock(fake::library().mutex);
    std::vector<uint32_t> ticks;
    for (const auto& tick : fake::library().ticks) {
        if (tick.first == thread)
            ticks.push_back(tick.second);
    }
    return ticks;
}

} // namespace

// However late a tick comes, the library is told all the time that passed since the one before.
TEST_F(SiriusLibTest, LibraryClockTicksOnTheLibraryThreadWithTheTimeThatReallyPassed)
{
    CMReply<std::thread::id> libraryThread;
    bridge()->async([libraryThread] { libraryThread.setResult(std::this_thread::get_id()); });
    const std::thread::id ticking = waitFor(libraryThread);
    ASSERT_TRUE(waitUntil([&] { return !ticksFrom(ticking).empty(); }, 3000));

    const std::thread::id here = std::this_thread::get_id();
    SiriusLib lib(true); // its clock starts now; its slot is called directly below
    // This thread is held up (no events run, so its own timer cannot fire) while the bridge's
    // clock ticks three times: the two ticks after the first measure time that passed within.
    const std::size_t seen = ticksFrom(ticking).size();
    {
        std::unique_lock<std::mutex> lock(fake::library().mutex);
        ASSERT_TRUE(fake::library().ticked.wait_for(lock, std::chrono::seconds(30), [&] {
            return std::count_if(fake::library().ticks.begin(), fake::library().ticks.end(),
                                 [&](const auto& tick) { return tick.first == ticking; }) >=
                   std::ptrdiff_t(seen + 3);
        }));
    }
    const std::vector<uint32_t> bridgeTicks = ticksFrom(ticking);
    const uint32_t heldAtLeast = bridgeTicks[seen + 1] + bridgeTicks[seen + 2];
    lib.on_libraryTimer_timeout();
    lib.on_libraryTimer_timeout();
    const std::vector<uint32_t> ticks = ticksFrom(here);
    ASSERT_EQ(ticks.size(), 2u);
    EXPECT_GE(ticks[0] + 1, heldAtLeast) << "the late tick passes the whole delay";
    EXPECT_LT(ticks[1], ticks[0]) << "the next one counts from the late one";
}

// The worker's tests follow the library's own error texts of a refused sign-in and line-up.
TEST_F(SiriusLibTest, SignInPassesUtf8AndTheLineUpEndsWithAMarkOnlyOnSuccess)
{
    SiriusLib* lib = bridge();
    EXPECT_TRUE(waitFor(lib->login(QStringLiteral("üser"), QStringLiteral("pw"))));
    EXPECT_TRUE(fake::calls("sxm_verify_account(\xc3\xbcser,pw)"));

    initialize(lib);
    QObject receiver;
    QList<MivoSiriusContent> channels;
    lib->subscribe(&SiriusLib::onChannel, &receiver,
                   [&](const MivoSiriusContent& content) { channels.append(content); });
    fake::script("sxm_channel_list", [](const sxm_callbacks& cb) {
        sxm_content a = fake::record("a", SXM_ASSET_LIVE_CHANNEL, "a");
        sxm_content b = fake::record("b", SXM_ASSET_LIVE_CHANNEL, "b");
        cb.onChannel(cb.context, &a);
        cb.onChannel(cb.context, &b);
    });
    EXPECT_TRUE(waitFor(lib->listChannels()));
    ASSERT_TRUE(waitUntil([&] { return channels.size() == 3; }));
    EXPECT_EQ(channels[1].channelId(), QStringLiteral("b"));
    EXPECT_TRUE(channels[2].isEmpty()) << "an empty content marks the end of the list";

    // After a failed listing the next listing's items follow its items without an end mark.
    fake::result("sxm_channel_list", 0);
    channels.clear();
    const CMReply<bool> failed = lib->listChannels();
    ASSERT_TRUE(failed.waitForFinished(5000));
    EXPECT_TRUE(failed.isError());
    fake::result("sxm_channel_list", 1);
    EXPECT_TRUE(waitFor(lib->listChannels()));
    ASSERT_TRUE(waitUntil([&] { return !channels.isEmpty() && channels.last().isEmpty(); }));
    EXPECT_EQ(channels.size(), 5) << "no end mark after a failure";
}

TEST_F(SiriusLibTest, ListOperationsAnswerTheCollectedItemsAndTheirFailureTexts)
{
    SiriusLib* lib = bridge();
    initialize(lib);
    sxm_content show = fake::record("s1", SXM_ASSET_SHOW, "s1");
    show.genre = "Caf\xc3\xa9";
    fake::deliver("sxm_getShows", {show});
    const QList<MivoSiriusContent> shows =
        waitFor(lib->getShows(QStringLiteral("jazz"), QString()));
    ASSERT_EQ(shows.size(), 1);
    EXPECT_EQ(shows[0].genre(), QStringLiteral("Café"));
    EXPECT_TRUE(fake::calls("sxm_getShows(jazz,)"));
    fake::result("sxm_getShows", -2);
    EXPECT_EQ(errorText(lib->getShows(QString(), QStringLiteral("c"))),
              QStringLiteral("sxm_getShows failed with error: -2"));

    fake::result("sxm_getEpisodes", 0);
    EXPECT_EQ(errorText(lib->getEpisodes(QStringLiteral("show"))),
              QStringLiteral("sxm_getEpisodes failed with error: 0"));

    fake::script("sxm_get_recents",
                 [](const sxm_callbacks& cb) { cb.onRecents(cb.context, nullptr, -1); });
    EXPECT_TRUE(waitFor(lib->getRecent()).isEmpty()) << "a count of -1 is an empty list";
}

TEST_F(SiriusLibTest, PlaybackAndFavoriteOperationsPassTheirRecordsAndMapTheirResults)
{
    SiriusLib* lib = bridge();
    fake::result("sxm_playChannel", 0);
    EXPECT_EQ(errorText(lib->play(MivoSiriusPlayable())), QStringLiteral("sxm_playChannel failed"));
    fake::result("sxm_playChannel", 1);
    MivoSiriusPlayable playable;
    playable.setChannelId(QStringLiteral("c7"))
        .setMode(MivoSiriusContentMode::Xtra)
        .setPlayLive(true);
    EXPECT_TRUE(waitFor(lib->play(playable)));
    EXPECT_TRUE(fake::calls("sxm_playChannel(c7,,2,1)"));

    fake::result("sxm_userPause", -1);
    EXPECT_EQ(errorText(lib->userPause(true)), QStringLiteral("sxm_userPause failed"));
    fake::result("sxm_userPause", -21);
    EXPECT_FALSE(waitFor(lib->userPause(false))) << "the pause point is gone";
    fake::result("sxm_checkGeoRestricted", 1);
    EXPECT_TRUE(waitFor(lib->checkGeoRestricted(QStringLiteral("c"))));
    fake::result("sxm_checkGeoRestricted", 2);
    EXPECT_EQ(errorText(lib->checkGeoRestricted(QStringLiteral("c"))),
              QStringLiteral("sxm_checkGeoRestricted failed"));

    MivoSiriusFavorite favorite;
    favorite.setAssetGuid(QStringLiteral("g"))
        .setAssetType(MivoSiriusAssetType::Show)
        .setChannelId(QStringLiteral("c"))
        .setChangeType(MivoSiriusFavoriteChangeType::Removed);
    EXPECT_TRUE(waitFor(lib->updateFavorites({favorite})));
    EXPECT_TRUE(fake::calls("sxm_update_server_favorites(g:1:c:1;)"));

    lib->notifyPlayTimeChanged(12345);
    lib->notifyGoLive();
    EXPECT_TRUE(waitUntil([&] { return fake::calls("sxm_triggerGoLive"); }));
    EXPECT_TRUE(fake::calls("sxm_on_playTimeChanged(12345)"));
}

TEST_F(SiriusLibTest, AudioBlocksReachTheDataWriteFunctionOnlyOnceItIsSet)
{
    SiriusLib lib(true);
    unsigned char block[100] = {1, 2, 3};
    unsigned int delay = 7;
    EXPECT_EQ(SiriusLib::on_playbackData_callback(&lib, block, 100, 64000, &delay), 0)
        << "dropped before a data-write function exists";
    QByteArray seen;
    lib.setDataWriteCallback([&](const QByteArray& data, unsigned int bitrate, unsigned int* out) {
        seen = QByteArray(data.constData(), data.size()); // copy before returning
        *out = bitrate / 1000;
        return 40;
    });
    EXPECT_EQ(SiriusLib::on_playbackData_callback(&lib, block, 100, 64000, &delay), 40);
    EXPECT_EQ(seen.size(), 100);
    EXPECT_EQ(seen.at(2), 3);
    EXPECT_EQ(delay, 64u);
}

TEST(SiriusLibSegmentTime, EveryResultCodeAndTextForm)
{
    const auto parse = [](int result, const char* text) {
        CMReply<MivoSiriusSegmentTime> reply;
        SiriusLib::completeSegmentTime(reply, result, QString::fromLatin1(text));
        return reply;
    };
    EXPECT_EQ(parse(-3, "").error().message().toString(), QStringLiteral("Invalid state"));

    const struct
    {
        int result;
        MivoSiriusSegmentTimeError::Enum kind;
    } errors[] = {{-118, MivoSiriusSegmentTimeError::SkipLimitReached},
                  {-119, MivoSiriusSegmentTimeError::NoSkipsAvailable},
                  {-4, MivoSiriusSegmentTimeError::SkipsNotAllowed},
                  {-17, MivoSiriusSegmentTimeError::AlreadyLive},
                  {-1, MivoSiriusSegmentTimeError::Unknown},
                  {-200, MivoSiriusSegmentTimeError::Unknown}};
    for (const auto& e : errors) {
        const auto reply =
            parse(e.result, "error/Skip limit reached until: 2026-11-22T18:05:00.000");
        ASSERT_TRUE(reply.isSucceeded()) << "a refused skip is a value, not a failed reply";
        EXPECT_EQ(reply.result().error(), e.kind) << e.result;
        EXPECT_EQ(reply.result().errorMsg(),
                  QStringLiteral("Skip limit reached until: 2026-11-22T18:05:00.000"));
    }
    EXPECT_EQ(parse(-17, "").result().errorMsg(), QStringLiteral("Unknown error"));
    EXPECT_EQ(parse(-17, "error").result().errorMsg(), QStringLiteral("Unknown error"));
    EXPECT_EQ(parse(-17, "warning/x").result().errorMsg(), QStringLiteral("Unknown error"));

    const auto live = parse(2, "goLive").result();
    EXPECT_TRUE(live.goLive());
    EXPECT_EQ(live.skipsLeft(), 2);
    const auto xtra = parse(0, "xtra;guid-9").result();
    EXPECT_TRUE(xtra.isXtra());
    EXPECT_EQ(xtra.assetGuid(), QStringLiteral("guid-9"));
    const auto both = parse(5, "2026-11-22T10:00:00.000Z,guid-1").result();
    EXPECT_EQ(both.startTime(), QStringLiteral("2026-11-22T10:00:00.000Z"));
    EXPECT_EQ(both.assetGuid(), QStringLiteral("guid-1"));
    EXPECT_EQ(both.skipsLeft(), 5);
    const auto start = parse(1, "2026-11-22T10:00:00.000Z").result();
    EXPECT_EQ(start.startTime(), QStringLiteral("2026-11-22T10:00:00.000Z"));
    EXPECT_TRUE(start.assetGuid().isEmpty());
    EXPECT_EQ(parse(1, "a,b,c").error().message().toString(), QStringLiteral("Unknown error"));
    EXPECT_TRUE(parse(1, "xtra-without-separator").isError())
        << "an Xtra text without ';' is an error, not a crash";
}

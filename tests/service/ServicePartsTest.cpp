// The service's parts without HTTP: ADTS padding, IVs, time texts, the skip budget, fault flags.
#include "Adts.h"
#include "AudioLibrary.h"
#include "Crypto.h"
#include "SkipBudget.h"
#include "TimeText.h"
#include "sxmservice/Faults.h"

#include <gtest/gtest.h>

namespace sxm::service {
namespace {

std::string frame(std::size_t length, int channels = 2)
{
    std::string bytes(length, '\x21');
    bytes[0] = '\xFF';
    bytes[1] = '\xF1';                                                         // MPEG-4, no CRC
    bytes[2] = static_cast<char>((1 << 6) | (3 << 2) | ((channels >> 2) & 1)); // LC, 48 kHz
    bytes[3] = static_cast<char>(((channels & 3) << 6) | ((length >> 11) & 3));
    bytes[4] = static_cast<char>((length >> 3) & 0xFF);
    bytes[5] = static_cast<char>(((length & 7) << 5) | 0x1F);
    bytes[6] = '\xFC';
    return bytes;
}

TEST(Adts, ScanFindsEveryFrameAndNamesTheFirstFault)
{
    const std::string stream = frame(100) + frame(37, 1) + frame(250);
    const AdtsScan scan = scanAdts(stream);
    ASSERT_TRUE(scan.error.empty()) << scan.error;
    ASSERT_EQ(scan.frames.size(), 3u);
    EXPECT_EQ(scan.frames[1].offset, 100u);
    EXPECT_EQ(scan.frames[1].channels, 1);
    EXPECT_EQ(scan.frames[2].sampleRate, 48000);

    EXPECT_NE(scanAdts(stream.substr(0, 120)).error.find("bad ADTS frame length 37 at byte 100"),
              std::string::npos);
    std::string broken = stream;
    broken[100] = 0;
    EXPECT_NE(scanAdts(broken).error.find("no ADTS sync word at byte 100"), std::string::npos);
}

TEST(Adts, PaddingGrowsTheLastFrameToABlockBoundary)
{
    const std::string stream = frame(100) + frame(37);
    const std::string padded = padLastFrameToBlock(stream, 16);
    EXPECT_EQ(padded.size(), 144u);
    const AdtsScan scan = scanAdts(padded);
    ASSERT_TRUE(scan.error.empty());
    ASSERT_EQ(scan.frames.size(), 2u);
    EXPECT_EQ(scan.frames[1].length, 44u);
    EXPECT_EQ(padded.substr(137), std::string(7, '\0'));
    EXPECT_EQ(padLastFrameToBlock(frame(32), 16), frame(32)) << "aligned input stays as it is";
    EXPECT_THROW(padLastFrameToBlock("not adts at all", 16), std::invalid_argument);
}

TEST(Adts, StartCutDropsWholeFramesUntilTheirTimeReachesTheOffset)
{
    // At 48 kHz a frame of one raw data block lasts 21.33 ms; byte 6 ending in 1 means two blocks.
    std::string twoBlocks = frame(60);
    twoBlocks[6] = '\xFD';
    const std::string stream = frame(100) + twoBlocks + frame(80);
    EXPECT_EQ(adtsStartCut(stream, 0), 0u);
    EXPECT_EQ(adtsStartCut(stream, 21), 100u);
    EXPECT_EQ(adtsStartCut(stream, 22), 160u) << "the second frame counts twice";
    EXPECT_EQ(adtsStartCut(stream, 63), 160u);
    EXPECT_EQ(adtsStartCut(stream, 65), stream.size());
    EXPECT_EQ(adtsStartCut(stream.substr(0, 150), 22), 0u) << "not clean: nothing is cut";
}

TEST(Adts, EmbeddedClipsAreCleanAndBlockAligned)
{
    const AudioLibrary library;
    for (int tone = 0; tone < AudioLibrary::kToneCount; ++tone) {
        for (int bitrate = 0; bitrate < AudioLibrary::kBitrateCount; ++bitrate) {
            const std::string& clip = library.clip(tone, bitrate);
            EXPECT_EQ(clip.size() % 16, 0u);
            const AdtsScan scan = scanAdts(clip);
            ASSERT_TRUE(scan.error.empty()) << scan.error;
            EXPECT_EQ(scan.frames.front().channels, library.channelsOfTone(tone));
        }
    }
    EXPECT_THROW(library.clip(4, 0), std::out_of_range);
}

TEST(Crypto, InitialisationVectorKeepsTheSignOverAllBytes)
{
    Block one{};
    one[15] = 1;
    EXPECT_EQ(ivFromValue(1), one);
    Block negative;
    negative.fill(0xFF);
    negative[15] = 0xFE;
    EXPECT_EQ(ivFromValue(-2), negative);
    const Block big = ivFromValue(0x12345678);
    EXPECT_EQ(toHex(big.data(), big.size()), "00000000000000000000000012345678");
}

TEST(Crypto, HexKeysAndBlockSizedPlaintext)
{
    EXPECT_TRUE(parseHexKey("53584D2D44454D4F2D46495845442D4B"));
    EXPECT_FALSE(parseHexKey("53584d2d44454d4f2d46495845442d4"));
    EXPECT_FALSE(parseHexKey("zz584d2d44454d4f2d46495845442d4b"));
    EXPECT_THROW(encryptCbc(Block{}, Block{}, std::string(17, 'a')), std::invalid_argument);
    EXPECT_NE(deriveKey(1, "content/key-a"), deriveKey(1, "content/key-b"));
    EXPECT_NE(deriveKey(1, "content/key-a"), deriveKey(2, "content/key-a"));
}

TEST(TimeText, FormatsAndReadsUtc)
{
    EXPECT_EQ(formatUtcMs(1795348800123LL), "2026-11-22T12:00:00.123");
    EXPECT_EQ(formatIsoUtc(0), "1970-01-01T00:00:00.000Z");
    EXPECT_EQ(formatUtcMs(-1), "1969-12-31T23:59:59.999");
    EXPECT_EQ(parseUtc("2026-11-22T12:00:00.123"), 1795348800123LL);
    EXPECT_EQ(parseUtc("2026-11-22T12:00:00Z"), 1795348800000LL);
    EXPECT_FALSE(parseUtc("2026-11-22 12:00:00"));
    EXPECT_FALSE(parseUtc("2026-13-22T12:00:00"));
    EXPECT_FALSE(parseUtc("2026-11-22T12:00:00.12"));
}

TEST(SkipBudget, SlidingHourCountsEachSkipOnce)
{
    SkipBudget budget(3);
    const std::int64_t t0 = 1000000;
    EXPECT_TRUE(budget.tryConsume(t0));
    EXPECT_TRUE(budget.tryConsume(t0 + 10 * 60000));
    EXPECT_TRUE(budget.tryConsume(t0 + 20 * 60000));
    EXPECT_FALSE(budget.tryConsume(t0 + 30 * 60000));
    EXPECT_EQ(budget.nextAvailableAtMs(t0 + 30 * 60000), t0 + SkipBudget::kWindowMs);
    EXPECT_EQ(budget.remaining(t0 + SkipBudget::kWindowMs), 1);
    budget.exhaust(t0 + SkipBudget::kWindowMs);
    EXPECT_EQ(budget.remaining(t0 + SkipBudget::kWindowMs), 0);
    budget.refill();
    EXPECT_EQ(budget.remaining(t0), 3);
}

TEST(Faults, CommandLineFlagsSetTheirFaultOrExplainTheMistake)
{
    FaultSettings settings;
    EXPECT_FALSE(applyFaultFlag(settings, "isGupUnavailable"));
    EXPECT_FALSE(applyFaultFlag(settings, "refuseLogin=Go away"));
    EXPECT_FALSE(applyFaultFlag(settings, "status=lineup:503"));
    EXPECT_FALSE(applyFaultFlag(settings, "delay=lineup:20"));
    EXPECT_FALSE(applyFaultFlag(settings, "drop=audio"));
    EXPECT_FALSE(applyFaultFlag(settings, "cutShift=160000"));
    EXPECT_TRUE(settings.bypass.isGupUnavailable);
    EXPECT_EQ(settings.refuseLoginMessage, "Go away");
    EXPECT_EQ(settings.endpoints["lineup"].status, 503);
    EXPECT_EQ(settings.endpoints["lineup"].delayMs, 20);
    EXPECT_TRUE(settings.endpoints["audio"].drop);
    EXPECT_EQ(settings.cutShiftMs, 160000);

    const FaultSettings before = settings;
    EXPECT_EQ(applyFaultFlag(settings, "status=nowhere:500"),
              "--fault status: unknown endpoint \"nowhere\"");
    EXPECT_TRUE(applyFaultFlag(settings, "status=lineup:200"));
    EXPECT_TRUE(applyFaultFlag(settings, "isGupUnavailable=1"));
    EXPECT_TRUE(applyFaultFlag(settings, "gremlins"));
    EXPECT_EQ(toJson(settings), toJson(before));
}

TEST(Faults, LimitedEndpointFaultIsTakenTheGivenNumberOfTimes)
{
    FaultState state;
    ASSERT_FALSE(state.merge({{"endpoints", {{"search", {{"status", 500}, {"times", 2}}}}}}));
    EXPECT_TRUE(state.takeEndpointFault("search"));
    EXPECT_TRUE(state.takeEndpointFault("search"));
    EXPECT_FALSE(state.takeEndpointFault("search"));
    EXPECT_TRUE(state.merge({{"endpoints", {{"search", {{"status", 302}}}}}}));
    EXPECT_TRUE(state.merge({{"bypass", {{"isGupUnavailable", "yes"}}}}));
    EXPECT_TRUE(state.merge(nlohmann::json::array()));
    EXPECT_FALSE(state.takeEndpointFault("search"));
}

} // namespace
} // namespace sxm::service

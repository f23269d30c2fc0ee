// The library's parts that the service never exercises on purpose: decryption that must carry a
// partial cipher block over to the next chunk, a start inside a segment cut at an ADTS frame,
// query encoding and tolerant JSON reads. Built from the library's sources, with the module's
// real hooks.

#include "Adts.h"
#include "DeviceHooks.h"
#include "HttpExchange.h"
#include "JsonFields.h"
#include "StreamCipher.h"

#include <sxmlib.h>

#include <gcrypt.h>
#include <gtest/gtest.h>

#include <numeric>
#include <string>
#include <vector>

using namespace sxmlib;

namespace {

const Key kKey = {0x10, 0x21, 0x32, 0x43, 0x54, 0x65, 0x76, 0x87,
                  0x98, 0xa9, 0xba, 0xcb, 0xdc, 0xed, 0xfe, 0x0f};

// The service's vector: the value sign-extended, big-endian over 16 bytes.
std::string vectorOf(std::int32_t value)
{
    std::string iv(16, '\0');
    std::int64_t v = value;
    for (int i = 15; i >= 0; --i, v >>= 8)
        iv[static_cast<std::size_t>(i)] = static_cast<char>(v & 0xFF);
    return iv;
}

std::string encrypt(const std::string& plain, const Key& key, int mode, const std::string& iv)
{
    gcry_cipher_hd_t handle = nullptr;
    EXPECT_EQ(gcry_cipher_open(&handle, GCRY_CIPHER_AES128, mode, 0), 0u);
    gcry_cipher_setkey(handle, key.data(), key.size());
    if (!iv.empty())
        gcry_cipher_setiv(handle, iv.data(), iv.size());
    std::string out(plain.size(), '\0');
    EXPECT_EQ(gcry_cipher_encrypt(handle, out.data(), out.size(), plain.data(), plain.size()), 0u);
    gcry_cipher_close(handle);
    return out;
}

std::string pattern(std::size_t size)
{
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        text[i] = static_cast<char>((i * 7 + 3) & 0xFF);
    return text;
}

class Parts : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { ASSERT_EQ(sxm_cr_init(), 1); }
};

} // namespace

TEST_F(Parts, DecryptionCarriesPartialBlocksOverToTheNextChunk)
{
    const std::string plain = pattern(1024);
    const std::string cipher = encrypt(plain, kKey, GCRY_CIPHER_MODE_CBC, vectorOf(-1053278136));
    SegmentDecryptor decryptor(kKey, -1053278136);
    ASSERT_TRUE(decryptor.ok());
    std::string out;
    std::size_t at = 0;
    for (const std::size_t chunk : {1u, 7u, 15u, 17u, 33u, 16u, 100u}) {
        ASSERT_TRUE(decryptor.feed(std::string_view(cipher).substr(at, chunk), out));
        at += chunk;
        EXPECT_EQ(out.size() % 16, 0u) << "only whole blocks come out";
        EXPECT_EQ(out.size() + decryptor.pending(), at);
    }
    ASSERT_TRUE(decryptor.feed(std::string_view(cipher).substr(at), out));
    EXPECT_EQ(decryptor.pending(), 0u);
    EXPECT_EQ(out, plain);
}

namespace {

// ADTS frames at 48 kHz with one raw block each: 1024 samples, 21.33 ms a frame.
std::string adtsFrames(const std::vector<std::size_t>& lengths)
{
    std::string audio;
    for (const std::size_t length : lengths) {
        std::string frame(length, '\x11');
        frame[0] = '\xFF';
        frame[1] = '\xF1';
        frame[2] = static_cast<char>(0x40 | (3 << 2)); // AAC LC, sampling index 3 (48 kHz)
        frame[3] = static_cast<char>(0x80 | ((length >> 11) & 0x03));
        frame[4] = static_cast<char>((length >> 3) & 0xFF);
        frame[5] = static_cast<char>(((length & 0x07) << 5) | 0x1F);
        frame[6] = '\xFC'; // one raw data block
        audio += frame;
    }
    return audio;
}

} // namespace

TEST_F(Parts, AStartInsideAudioIsCutAtTheFirstFrameAtOrAfterIt)
{
    const std::vector<std::size_t> lengths = {300, 280, 310, 290, 305, 295};
    const std::string audio = adtsFrames(lengths);

    const AdtsCut intoThird = adtsCutAt(audio, 50); // frames end at 21.3, 42.7, 64 ms
    EXPECT_EQ(intoThird.byteOffset, 300u + 280u + 310u);
    EXPECT_EQ(intoThird.skippedMs, 64);
    const AdtsCut onBoundary = adtsCutAt(audio, 42);
    EXPECT_EQ(onBoundary.byteOffset, 300u + 280u);
    EXPECT_EQ(adtsCutAt(audio, 10000).byteOffset, audio.size()) << "past the end: nothing left";

    // Bytes that are not ADTS are handed over whole rather than cut somewhere undecodable.
    EXPECT_EQ(adtsCutAt(pattern(2000), 50).byteOffset, 0u);
    std::string truncated = audio.substr(0, 450); // the second frame claims more than is there
    EXPECT_EQ(adtsCutAt(truncated, 30).byteOffset, 0u);
}

TEST_F(Parts, QueryTextsArePercentEncodedAsUtf8)
{
    EXPECT_EQ(urlEncode("M\xC3\xBAsica Urbana&x=1/2"), "M%C3%BAsica%20Urbana%26x%3D1%2F2");
    EXPECT_EQ(urlEncode("a-b_c.d~e"), "a-b_c.d~e");
}

TEST_F(Parts, JsonFieldsOfTheWrongTypeReadAsEmpty)
{
    const Json item = Json::parse(R"({"title": 7, "count": "9", "n": 12, "f": 2.9, "b": 1,
                                      "list": {}, "object": [], "flag": true})");
    EXPECT_EQ(jsonText(item, "title"), "");
    EXPECT_EQ(jsonInt(item, "count", -1), -1);
    EXPECT_EQ(jsonInt(item, "n"), 12);
    EXPECT_EQ(jsonInt(item, "f"), 2);
    EXPECT_TRUE(jsonBool(item, "b"));
    EXPECT_TRUE(jsonBool(item, "title")) << "a number counts as a truth value";
    EXPECT_FALSE(jsonBool(item, "count")) << "a text does not";
    EXPECT_TRUE(jsonArray(item, "list").empty());
    EXPECT_TRUE(jsonObject(item, "object").empty());
    EXPECT_EQ(jsonText(Json::array(), "title"), "") << "not an object at all";
}

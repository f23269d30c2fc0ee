// The pass-through switch of the decryption hooks: once a segment is started without a key and
// with a zero vector, data passes unchanged for the rest of the process. It never switches back,
// so this runs in a process of its own.

#include "aesTestData.h"

#include <sxmlib.h>

#include <gtest/gtest.h>

using sirius::test::Bytes;
using sirius::test::encryptAes128Cbc;
using sirius::test::kTestKey;
using sirius::test::kZeroIv;
using sirius::test::patternBytes;

TEST(DecryptPassThrough, UnencryptedStreamSwitchesDecryptionOffForGood)
{
    ASSERT_EQ(sxm_cr_init(), 1);
    sxm_decryptStart unencrypted{nullptr, 0, 0, 0};
    EXPECT_EQ(sxm_decrypt_start(&unencrypted), 0) << "there is no key to set";

    Bytes data = patternBytes(15, 4);
    Bytes output(15, 0);
    sxm_decryptProcess partial{data.data(), 15, output.data()};
    EXPECT_EQ(sxm_decrypt_process(&partial), 15) << "no block rounding without decryption";
    EXPECT_EQ(output, data);

    // A later segment with a real key still passes its bytes through untouched.
    Bytes cipher = encryptAes128Cbc(kTestKey, kZeroIv, patternBytes(32, 8));
    const Bytes original = cipher;
    sxm_decryptStart keyed{kTestKey.data(), 16, 0, 0};
    EXPECT_EQ(sxm_decrypt_start(&keyed), 1);
    Bytes passed(32, 0);
    sxm_decryptProcess whole{cipher.data(), 32, passed.data()};
    EXPECT_EQ(sxm_decrypt_process(&whole), 32);
    EXPECT_EQ(passed, original);
    EXPECT_EQ(cipher, original) << "the input is not decrypted in place either";
    EXPECT_EQ(sxm_decrypt_done(), 1);

    // Overlapping areas are allowed.
    Bytes overlap = patternBytes(40, 2);
    const Bytes expected(overlap.begin(), overlap.begin() + 32);
    sxm_decryptProcess shifted{overlap.data(), 32, overlap.data() + 8};
    EXPECT_EQ(sxm_decrypt_process(&shifted), 32);
    EXPECT_EQ(Bytes(overlap.begin() + 8, overlap.end()), expected);
}

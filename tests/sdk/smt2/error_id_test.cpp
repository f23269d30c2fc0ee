#include <smt2/ErrorID.h>

#include <gtest/gtest.h>

#include <set>

namespace {

TEST(ErrorID, EveryCodeHasItsOwnText)
{
    std::set<std::string> texts;
    const int last = static_cast<int>(smt2::ErrorID::NoTransportChannel);
    for (int code = 0; code <= last; ++code) {
        const std::string text = smt2::toString(static_cast<smt2::ErrorID>(code));
        EXPECT_FALSE(text.empty());
        EXPECT_EQ(text.rfind("unknown", 0), std::string::npos) << "code " << code;
        texts.insert(text);
    }
    EXPECT_EQ(texts.size(), static_cast<std::size_t>(last + 1));
    EXPECT_EQ(smt2::toString(smt2::ErrorID::NoError), "no error");
    EXPECT_EQ(static_cast<int>(smt2::ErrorID::NoError), 0);
}

TEST(ErrorID, UnknownValueIsNamedWithItsNumber)
{
    EXPECT_EQ(smt2::toString(static_cast<smt2::ErrorID>(999)), "unknown error 999");
}

} // namespace

#include <mivosdk/MivoThreadName.h>

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace {

std::string commOfThread(pid_t tid)
{
    std::ifstream comm("/proc/self/task/" + std::to_string(tid) + "/comm");
    std::string name;
    std::getline(comm, name);
    return name;
}

pid_t currentTid()
{
    return static_cast<pid_t>(syscall(SYS_gettid));
}

// Names a fresh thread and reads the name back from /proc while that thread is still alive.
std::string nameSeenInProc(const QString& name)
{
    std::string seen;
    std::thread t([&] {
        mivoSetThreadName(name);
        seen = commOfThread(currentTid());
    });
    t.join();
    return seen;
}

TEST(MivoThreadName, NamesAreCutToFifteenBytesNeverInsideACharacter)
{
    // "€" is three bytes in UTF-8.
    EXPECT_EQ(nameSeenInProc(QString::fromUtf8("abcdefghijkl€")), "abcdefghijkl€"); // 15 bytes
    EXPECT_EQ(nameSeenInProc(QString::fromUtf8("abcdefghijklm€")), "abcdefghijklm");
}

TEST(MivoThreadName, OnlyTheCallingThreadIsRenamed)
{
    const pid_t mainTid = currentTid();
    const std::string before = commOfThread(mainTid);
    std::thread t([] { mivoSetThreadName(QStringLiteral("renamed")); });
    t.join();
    EXPECT_EQ(commOfThread(mainTid), before);
}

} // namespace

// The sxm-service program's command line: refused flags and a real start on a free port.
#include <gtest/gtest.h>

#include <httplib.h>

#include <csignal>
#include <cstdio>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Outcome
{
    int exitCode = -1;
    std::string output;
};

// Stops and reaps the program if a test ends early, so that no server outlives its test.
struct ChildGuard
{
    pid_t pid = -1;
    ~ChildGuard()
    {
        if (pid > 0) {
            kill(pid, SIGTERM);
            waitpid(pid, nullptr, 0);
        }
    }
};

Outcome run(const std::string& arguments)
{
    Outcome outcome;
    const std::string command = std::string(SXM_SERVICE_PROGRAM) + " " + arguments + " 2>&1";
    std::FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) {
        return outcome;
    }
    char buffer[512];
    while (std::fgets(buffer, sizeof buffer, pipe)) {
        outcome.output += buffer;
    }
    const int status = pclose(pipe);
    outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

TEST(CommandLine, MalformedFlagsAreRefusedWithTheReason)
{
    const struct
    {
        const char* arguments;
        const char* reason;
    } cases[] = {
        {"--channels 0", "--channels needs 1..5000, not 0"},
        {"--fixed-key 1234", "the fixed key must be 32 hex digits"},
        {"--bogus", "unknown or incomplete option --bogus"},
    };
    for (const auto& c : cases) {
        const Outcome outcome = run(c.arguments);
        EXPECT_EQ(outcome.exitCode, 2) << c.arguments;
        EXPECT_NE(outcome.output.find(c.reason), std::string::npos)
            << c.arguments << " said: " << outcome.output;
    }
}

TEST(CommandLine, StartsOnAFreeLoopbackPortAndStopsOnSigterm)
{
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        dup2(fds[1], STDOUT_FILENO);
        close(fds[0]);
        execl(SXM_SERVICE_PROGRAM, SXM_SERVICE_PROGRAM, "--channels", "12", "--fault",
              "isSearchUnavailable", static_cast<char*>(nullptr));
        _exit(127);
    }
    ChildGuard guard{child};
    close(fds[1]);
    std::string line;
    char c = 0;
    while (read(fds[0], &c, 1) == 1 && c != '\n') {
        line.push_back(c);
    }
    close(fds[0]);
    const std::string prefix = "sxm-service listening on http://127.0.0.1:";
    ASSERT_EQ(line.rfind(prefix, 0), 0u) << line;
    const int port = std::stoi(line.substr(prefix.size()));

    httplib::Client client("127.0.0.1", port);
    const auto config = client.Get("/config");
    ASSERT_TRUE(config);
    EXPECT_EQ(config->status, 200);
    EXPECT_NE(config->body.find("\"isSearchUnavailable\":true"), std::string::npos);

    kill(child, SIGTERM);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    guard.pid = -1;
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

} // namespace

// sxm-service: the simulated SiriusXM backend as a stand-alone program, on 127.0.0.1 only.
#include "sxmservice/Server.h"

#include <getopt.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

namespace {

volatile std::sig_atomic_t stopRequested = 0;

void onSignal(int)
{
    stopRequested = 1;
}

void printUsage(std::FILE* to)
{
    std::fprintf(
        to,
        "usage: sxm-service [options]\n"
        "Simulated SiriusXM backend on 127.0.0.1 (HTTP, JSON, cookie sessions).\n"
        "\n"
        "  --port N              port to listen on (default 0: a free port, printed at start)\n"
        "  --channels N          live channels, 1..5000 (default 60, in up to 10 genres)\n"
        "  --seed N              seed of the generated catalog and schedules (default 1)\n"
        "  --session-minutes M   idle minutes until a session expires, fractions allowed\n"
        "                        (default 20)\n"
        "  --fixed-key HEX       the device's fixed key, 32 hex digits, that wraps content keys\n"
        "                        (default %s)\n"
        "  --account USER:PASS   add an account (the account demo:demo always exists)\n"
        "  --skips-per-hour N    hourly skip allowance of a session (default 6)\n"
        "  --fault NAME[=VALUE]  start with a fault, repeatable:\n"
        "                          isGupIdUnavailable, isGupUnavailable, isSearchUnavailable,\n"
        "                          isPausePoinUnavailable, the four ...Check flags,\n"
        "                          loggedDuringBypass, refuseLogin[=MESSAGE], skipsNotAllowed,\n"
        "                          cutShift=MS, status=ENDPOINT:CODE, delay=ENDPOINT:MS,\n"
        "                          drop=ENDPOINT\n"
        "  --help                this text\n"
        "\n"
        "The API, the admin endpoints and the endpoint names are in docs/service-api.md.\n",
        sxm::service::kDefaultFixedKeyHex);
}

bool parseNumber(const char* text, long long low, long long high, long long& out)
{
    char* end = nullptr;
    const long long value = std::strtoll(text, &end, 10);
    if (!*text || *end || value < low || value > high) {
        return false;
    }
    out = value;
    return true;
}

int fail(const std::string& message)
{
    std::fprintf(stderr, "sxm-service: %s (see --help)\n", message.c_str());
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    using namespace sxm::service;
    enum
    {
        kPort = 1,
        kChannels,
        kSeed,
        kSessionMinutes,
        kFixedKey,
        kAccount,
        kSkips,
        kFault,
        kHelp
    };
    static const option longOptions[] = {
        {"port", required_argument, nullptr, kPort},
        {"channels", required_argument, nullptr, kChannels},
        {"seed", required_argument, nullptr, kSeed},
        {"session-minutes", required_argument, nullptr, kSessionMinutes},
        {"fixed-key", required_argument, nullptr, kFixedKey},
        {"account", required_argument, nullptr, kAccount},
        {"skips-per-hour", required_argument, nullptr, kSkips},
        {"fault", required_argument, nullptr, kFault},
        {"help", no_argument, nullptr, kHelp},
        {nullptr, 0, nullptr, 0}};
    Options options;
    long long port = 0;
    long long number = 0;
    opterr = 0;
    for (int option = 0; (option = getopt_long(argc, argv, "", longOptions, nullptr)) != -1;) {
        switch (option) {
        case kPort:
            if (!parseNumber(optarg, 0, 65535, port)) {
                return fail(std::string("--port needs 0..65535, not ") + optarg);
            }
            break;
        case kChannels:
            if (!parseNumber(optarg, 1, 5000, number)) {
                return fail(std::string("--channels needs 1..5000, not ") + optarg);
            }
            options.channels = static_cast<int>(number);
            break;
        case kSeed:
            if (!parseNumber(optarg, 0, (1LL << 62), number)) {
                return fail(std::string("--seed needs a non-negative number, not ") + optarg);
            }
            options.seed = static_cast<std::uint64_t>(number);
            break;
        case kSessionMinutes: {
            char* end = nullptr;
            const double minutes = std::strtod(optarg, &end);
            if (!*optarg || *end || !(minutes > 0) || minutes > 100000) {
                return fail(std::string("--session-minutes needs a positive number, not ") +
                            optarg);
            }
            options.sessionLifetime =
                std::chrono::milliseconds(static_cast<long long>(minutes * 60000.0 + 0.5));
            break;
        }
        case kFixedKey:
            options.fixedKeyHex = optarg;
            break;
        case kAccount: {
            const std::string text = optarg;
            const auto colon = text.find(':');
            if (colon == std::string::npos || colon == 0 || colon + 1 == text.size()) {
                return fail("--account needs USER:PASSWORD, not \"" + text + "\"");
            }
            if (text.substr(0, colon) != "demo") {
                options.accounts.push_back({text.substr(0, colon), text.substr(colon + 1)});
            }
            break;
        }
        case kSkips:
            if (!parseNumber(optarg, 0, 1000, number)) {
                return fail(std::string("--skips-per-hour needs 0..1000, not ") + optarg);
            }
            options.skipsPerHour = static_cast<int>(number);
            break;
        case kFault:
            if (auto error = applyFaultFlag(options.faults, optarg)) {
                return fail(*error);
            }
            break;
        case kHelp:
            printUsage(stdout);
            return 0;
        default:
            return fail(std::string("unknown or incomplete option ") + argv[optind - 1]);
        }
    }
    if (optind < argc) {
        return fail(std::string("unexpected argument ") + argv[optind]);
    }
    if (auto problem = validateOptions(options)) {
        return fail(*problem);
    }

    try {
        // Before the start line is printed: whoever reads it may signal at once.
        std::signal(SIGINT, onSignal);
        std::signal(SIGTERM, onSignal);
        Server server(options);
        server.start("127.0.0.1", static_cast<std::uint16_t>(port));
        std::printf("sxm-service listening on %s (config URL %s, %d channels, seed %llu)\n",
                    server.url().c_str(), server.configUrl().c_str(), options.channels,
                    static_cast<unsigned long long>(options.seed));
        std::fflush(stdout);
        while (!stopRequested) {
            struct timespec pause = {0, 100 * 1000 * 1000};
            nanosleep(&pause, nullptr);
        }
        server.stop();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "sxm-service: %s\n", error.what());
        return 1;
    }
    return 0;
}

#pragma once
// Thread contract: the test's main thread plays the integrator's library thread; the library's
// stream thread and the service's threads run beside it.
//
// The library, libsxmlib.so as built, with the module's real hooks (linked into this test
// executable and exported to the library) against sxm-service on a free loopback port. The
// host's settings that the hooks read live in an in-memory root: the service's configuration
// URL, the fixed key, the device identity and the account.

#include "CallbackRecorder.h"

#include "sxmservice/Server.h"

#include <mivosdk/CMRoot.h>

#include <QString>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

namespace sxmlib::test {

/// 2026-11-22T12:00:00.000Z: a whole number of segments.
inline constexpr std::int64_t kStartMs = 1795348800000LL;
inline constexpr std::int64_t kSegmentMs = 10000;
/// The stream every test selects; the service's plaintext is asked for at this index.
inline constexpr int kBitrate = SXM_STREAM_64_KBPS;

/// A text of the service (UTF-8) as the library hands track and cut texts over: Latin-1, "?" for
/// a character that Latin-1 lacks.
inline std::string latin1(const std::string& utf8)
{
    return QString::fromStdString(utf8).toLatin1().toStdString();
}

class LibraryFixture : public ::testing::Test
{
protected:
    /// Tests change the service's options before it starts by overriding this.
    virtual void adjust(sxm::service::Options&) {}

    void SetUp() override;
    void TearDown() override;

    /// Signs in as demo/demo and lists the line-up: status 5.
    void signInAndList();
    void storeAccount(const std::string& user, const std::string& password);
    void storeText(const CMPath& path, const std::string& text);

    /// The service's clock, which only the test moves.
    void advance(std::int64_t ms) { m_now += ms; }
    std::int64_t now() const { return m_now.load(); }

    /// A segment's plaintext as the service has it (its debug endpoint), for byte comparisons.
    std::string plaintext(const std::string& kind, const std::string& id, int bitrate,
                          std::int64_t segment);

    /// Plays with the recorder's callbacks; the texts may be empty.
    int play(int mode, const std::string& channelId, const std::string& assetGuid,
             const std::string& accessControlId, const std::string& timestamp, bool playLive);

    /// Answers sxm_sendAudioData whenever the recorder took part of a block, as an integrator
    /// whose socket drained would. Runs until TearDown.
    void startIntegratorThread();

    /// A copy of everything the callbacks delivered so far, taken under the recorder's lock.
    static Recorded recorded();

    const sxm::service::Catalog& catalog() const { return m_server->catalog(); }

    static CallbackRecorder m_recorder;
    std::unique_ptr<sxm::service::Server> m_server;
    CMMemoryRoot m_root;

private:
    std::atomic<std::int64_t> m_now{kStartMs};
    std::atomic<bool> m_integratorRuns{false};
    std::thread m_integrator;
};

/// Signed in as demo/demo, the line-up listed, nothing recorded yet: where most tests start.
class SignedInFixture : public LibraryFixture
{
protected:
    void SetUp() override;

    /// A channel that plays here; the other one the service refuses here.
    std::string liveChannel() const { return catalog().channels()[0].id; }
    std::string geoRestrictedChannel() const;

    bool waitForAudio(std::size_t bytes);
    /// Until the error callback reported `code`.
    bool waitForError(int code);
};

} // namespace sxmlib::test

#include "LibraryFixture.h"

#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoSiriusAccount.h>
#include <mivosdk/MivoValue.h>

#include <httplib.h>

#include <sxmlib.h>

namespace sxmlib::test {

CallbackRecorder LibraryFixture::m_recorder;

Recorded LibraryFixture::recorded()
{
    std::lock_guard<std::mutex> lock(m_recorder.m_mutex);
    return m_recorder;
}

void LibraryFixture::SetUp()
{
    sxm::service::Options options;
    options.clock = [this] {
        return m_now.load();
    };
    adjust(options);
    m_server = std::make_unique<sxm::service::Server>(options);
    m_server->start();

    CMSetRoot(&m_root);
    storeText(MivoSiriusSettingsConfigUrlPath(), m_server->configUrl());
    storeText(MivoSiriusSettingsKeyPath(), options.fixedKeyHex);
    storeText(MivoSiriusSettingsDeviceMakePath(), "Acme");
    storeText(MivoSiriusSettingsDeviceModelPath(), "Tuner 9");
    storeText(MivoNetworkStateCurrentMAC(), "00:11:22:33:44:55");
    storeAccount("demo", "demo");

    m_recorder.reset();
    ASSERT_EQ(sxm_init(), 1) << sxm_get_error();
    ASSERT_EQ(sxm_registerCallbacks(m_recorder.callbacks()), 1) << sxm_get_error();
    ASSERT_EQ(sxm_selectStreamIndex(kBitrate), 1);
}

void LibraryFixture::TearDown()
{
    // The library outlives the test: leave it with nothing running that could reach this test's
    // service or settings.
    sxm_stopChannel();
    sxm_stop_pdt_notification();
    m_integratorRuns = false;
    if (m_integrator.joinable())
        m_integrator.join();
    m_server.reset();
    CMSetRoot(nullptr);
}

void LibraryFixture::signInAndList()
{
    ASSERT_EQ(sxm_verify_account("demo", "demo"), 1) << sxm_get_error();
    ASSERT_EQ(sxm_channel_list(), 1) << sxm_get_error();
    ASSERT_EQ(sxm_get_status(), SXM_STATUS_READY);
}

void LibraryFixture::storeAccount(const std::string& user, const std::string& password)
{
    MivoSiriusAccount account;
    account.setUsername(QString::fromStdString(user)).setPassword(QString::fromStdString(password));
    MivoValue value;
    value.setSiriusAccount(account);
    m_root.setValue(MivoSiriusSettingsAccountPath(), value);
}

void LibraryFixture::storeText(const CMPath& path, const std::string& text)
{
    MivoValue value;
    value.setString(QString::fromStdString(text));
    m_root.setValue(path, value);
}

std::string LibraryFixture::plaintext(const std::string& kind, const std::string& id, int bitrate,
                                      std::int64_t segment)
{
    httplib::Client client(m_server->url());
    const auto reply = client.Get("/admin/plaintext/" + kind + "/" + id + "/" +
                                  std::to_string(bitrate) + "/" + std::to_string(segment));
    EXPECT_TRUE(reply && reply->status == 200)
        << "plaintext of " << kind << "/" << id << " #" << segment;
    return reply ? reply->body : std::string();
}

int LibraryFixture::play(int mode, const std::string& channelId, const std::string& assetGuid,
                         const std::string& accessControlId, const std::string& timestamp,
                         bool playLive)
{
    sxm_playRequest request = m_recorder.playRequest();
    request.mode = mode;
    request.channelId = channelId.c_str();
    request.assetGuid = assetGuid.c_str();
    request.accessControlId = accessControlId.c_str();
    request.timestamp = timestamp.c_str();
    request.playLive = playLive ? 1 : 0;
    return sxm_playChannel(&request);
}

void LibraryFixture::startIntegratorThread()
{
    m_integratorRuns = true;
    m_integrator = std::thread([this] {
        while (m_integratorRuns) {
            if (m_recorder.waitFor([](CallbackRecorder& r) { return r.moreWanted; }, 50)) {
                m_recorder.noteSendAudioData();
                sxm_sendAudioData();
            }
        }
    });
}

void SignedInFixture::SetUp()
{
    LibraryFixture::SetUp();
    ASSERT_NO_FATAL_FAILURE(signInAndList());
    m_recorder.reset();
}

std::string SignedInFixture::geoRestrictedChannel() const
{
    for (const auto& channel : catalog().channels())
        if (channel.records.front().geoRestrictions != 0)
            return channel.id;
    ADD_FAILURE() << "the catalog has no geo-restricted channel";
    return std::string();
}

bool SignedInFixture::waitForAudio(std::size_t bytes)
{
    return m_recorder.waitFor([bytes](CallbackRecorder& r) { return r.audio.size() >= bytes; });
}

bool SignedInFixture::waitForError(int code)
{
    return m_recorder.waitFor([code](CallbackRecorder& r) {
        for (const ErrorNote& note : r.errors)
            if (note.code == code)
                return true;
        return false;
    });
}

} // namespace sxmlib::test

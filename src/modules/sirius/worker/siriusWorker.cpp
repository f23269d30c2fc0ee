#include "worker/siriusWorker.h"

#include "browseUi/browseUi.h"
#include "contentManager/contentManager.h"
#include "nodes/accountNode.h"
#include "siriusLogging.h"
#include "siriusPlaylogic/siriusPlaylogic.h"

#include <mivosdk/CMActivateNode.h>
#include <mivosdk/CMRoot.h>
#include <mivosdk/MivoPaths.h>

namespace {

const log4cplus::Logger& logger()
{
    return sirius::cbSiriusLogger();
}

/// A host setting wrapped as a MivoValue.
MivoValue setting(const CMPath& path)
{
    return MivoValue(CMRoot()->getValue(path).toHash());
}

constexpr int kRequiredMajor = 3;
constexpr int kRequiredMinor = 0;
constexpr int kRequiredPatch = 0;
constexpr int kStatusSignedIn = 4;
constexpr int kStatusReady = 5;

} // namespace

SiriusWorker::SiriusWorker(const QVariantHash& settings)
    : CMNodesWorker(settings, QStringLiteral("Sirius"))
{
    m_fullFeatured = setting(MivoSiriusSettingsFullFeaturedPath()).toBool();
    m_lib = SiriusLib::create(m_fullFeatured);
    connect(this, &SiriusWorker::handleRequest, this, &SiriusWorker::on_handleRequest);
    if (!checkVersion() || !initializeLibrary())
        return;

    m_accountNode = AccountNode::create(m_lib, nodes(), MivoSiriusAccountPath());
    connect(m_accountNode, &AccountNode::accountChanged, this,
            &SiriusWorker::on_accountNode_accountChanged);
    m_tuneStartItem = new CMValueItem(MivoSiriusSettingsTuneStart(), this);
    connect(m_tuneStartItem, qOverload<MivoValue>(&CMValueItem::changed), this,
            &SiriusWorker::on_tuneStart_changed);
    m_contentManager = new ContentManager(m_lib, m_fullFeatured);
    m_contentManager->setParent(this);
    m_browseUi = new BrowseUi(nodes(), MivoSiriusBrowsePath(), m_contentManager, m_fullFeatured);
    m_browseUi->setParent(this);
    const QString streamUrlPrefix = settings.value(QStringLiteral("streamUrl_prefix")).toString();
    m_playlogic = SiriusPlaylogic::create(nodes(), MivoSiriusPlayLogicPath(), m_lib,
                                          m_contentManager, streamUrlPrefix, m_fullFeatured);
    m_lib->subscribe(&SiriusLib::onGlobalSettings, this, &SiriusWorker::on_lib_globalSettings);
    m_lib->subscribe(&SiriusLib::onError, this, &SiriusWorker::on_lib_error);
    CMActivateNode::create(nodes(), MivoSiriusFavoritePath(), this,
                           &SiriusWorker::on_favorites_activated, Qt::QueuedConnection);
    CMActivateNode::create(nodes(), MivoSiriusClearRecentsPath(), this,
                           &SiriusWorker::on_clearRecents_activated, Qt::QueuedConnection);
    m_initialized = true;
}

SiriusWorker::~SiriusWorker() = default;

bool SiriusWorker::checkVersion()
{
    int major = 0;
    int minor = 0;
    int patch = 0;
    m_lib->version(&major, &minor, &patch);
    if (major == kRequiredMajor && minor == kRequiredMinor && patch == kRequiredPatch)
        return true;
    LOG4CPLUS_FATAL(logger(),
                    "Invalid sirius lib version: " << major << "." << minor << "." << patch
                                                   << " required: " << kRequiredMajor << "."
                                                   << kRequiredMinor << "." << kRequiredPatch);
    return false;
}

bool SiriusWorker::initializeLibrary()
{
    const MivoSiriusAudioBitrate::Enum bitrate =
        setting(MivoSiriusSettingsAudioBitrateConfig()).siriusAudioBitrate();
    const CMReply<bool> reply = m_lib->initialize(bitrate);
    reply.waitForFinished(); // once, at start-up: nothing works before the library does
    const CMError error = reply.error();
    if (!error.name().isEmpty()) {
        LOG4CPLUS_FATAL(logger(),
                        "Failed to initialize sirius library: " << error.toString().toStdString());
        return false;
    }
    return true;
}

bool SiriusWorker::getDataRequest(const CMGetDataRequest& request)
{
    SIRIUS_TRACE_FUNCTION(logger());
    LOG4CPLUS_TRACE(logger(), "Path: " << request.path().toEncoded().toStdString());
    emit handleRequest(request);
    return true;
}

bool SiriusWorker::getRowsRequest(const CMGetRowsRequest& request)
{
    SIRIUS_TRACE_FUNCTION(logger());
    LOG4CPLUS_TRACE(logger(), "Path: " << request.path().toEncoded().toStdString());
    emit handleRequest(request);
    return true;
}

bool SiriusWorker::setDataRequest(const CMSetDataRequest& request)
{
    SIRIUS_TRACE_FUNCTION(logger());
    LOG4CPLUS_TRACE(logger(), "Path: " << request.path().toEncoded().toStdString());
    if (m_accountNode && request.path().withoutParams() == m_accountNode->path())
        return CMNodesWorker::setDataRequest(request);
    emit handleRequest(request);
    return true;
}

void SiriusWorker::refuse(const CMRequest& request, const char* message)
{
    request.reply().setError(CMError(TrString("SiriusWorker", message)));
}

void SiriusWorker::on_handleRequest(CMRequest request)
{
    if (!m_initialized) {
        refuse(request, "Sirius module is not initialized");
        return;
    }
    m_requests.append(request);
    if (m_requests.size() == 1)
        handleRequestSynced(request);
}

void SiriusWorker::handleRequestSynced(const CMRequest& request)
{
    const int status = m_lib->getStatus();
    if (status == kStatusReady) {
        // Advancing first dispatches requests that piled up during a sign-in newest first.
        handleNextRequest();
        dispatch(request);
        return;
    }
    if (status == kStatusSignedIn) {
        // A sign-in after an expired session lists the line-up again: it replaces the one held,
        // it does not add to it.
        m_contentManager->reset();
        const CMReply<bool> listing = m_lib->listChannels();
        listing.onSuccess(this, [this, request] { handleRequestSynced(request); });
        listing.onError(this, [this, request](const CMError& error) {
            request.reply().setError(error);
            handleNextRequest();
        });
        return;
    }
    const MivoSiriusAccount account = setting(MivoSiriusSettingsAccountPath()).siriusAccount();
    if (account.password().isEmpty()) {
        refuse(request, "Please log in");
        handleNextRequest();
        return;
    }
    const CMReply<bool> login = m_lib->login();
    login.onSuccess(this, [this, request] { handleRequestSynced(request); });
    login.onError(this, [this, request](const CMError& error) {
        LOG4CPLUS_ERROR(logger(), "Login error: " << error.toString().toStdString());
        refuse(request, "Invalid credentials, Please log in");
        handleNextRequest();
    });
}

void SiriusWorker::dispatch(const CMRequest& request)
{
    switch (request.kind()) {
    case CMRequest::Kind::GetRows:
        CMNodesWorker::getRowsRequest(CMGetRowsRequest(request));
        return;
    case CMRequest::Kind::GetData:
        CMNodesWorker::getDataRequest(CMGetDataRequest(request));
        return;
    case CMRequest::Kind::SetData:
        CMNodesWorker::setDataRequest(CMSetDataRequest(request));
        return;
    case CMRequest::Kind::Invalid:
        break;
    }
    refuse(request, "Invalid request");
}

void SiriusWorker::handleNextRequest()
{
    if (m_requests.isEmpty()) {
        LOG4CPLUS_ERROR(logger(), "handleNextRequest with an empty request queue");
        return;
    }
    m_requests.removeFirst();
    if (!m_requests.isEmpty()) {
        const CMRequest next = m_requests.first();
        handleRequestSynced(next);
    }
}

void SiriusWorker::on_accountNode_accountChanged()
{
    LOG4CPLUS_INFO(logger(), "Account changed");
    stopPlayback();
    m_contentManager->reset();
    m_browseUi->reset();
}

void SiriusWorker::on_lib_globalSettings(const SiriusLib::Settings& settings)
{
    const QString key = QStringLiteral("TuneStart");
    if (!settings.contains(key))
        return;
    m_globalSettings = settings;
    CMRoot()->setValue(MivoSiriusSettingsTuneStart(),
                       MivoValue().setBool(settings.value(key) == QLatin1String("on")).__variant(),
                       CMVoidReply());
}

void SiriusWorker::on_tuneStart_changed(MivoValue value)
{
    LOG4CPLUS_DEBUG(logger(), "value: " << value.toString().toStdString() << " global settings? "
                                        << !m_globalSettings.isEmpty());
    if (m_globalSettings.isEmpty())
        return;
    const QString key = QStringLiteral("TuneStart");
    const QString wanted = value.toBool() ? QStringLiteral("on") : QStringLiteral("off");
    if (m_globalSettings.value(key) == wanted)
        return;
    m_globalSettings.insert(key, wanted);
    m_lib->updateGlobalSettings(m_globalSettings);
}

void SiriusWorker::stopPlayback()
{
    m_playlogic->stop(CMSetDataRequest(CMPath(), MivoRoles::Activate(), QVariant()));
}

#pragma once
// Thread contract: worker thread only (the host creates it there through worker_create).

#include "siriusLib/siriusLib.h"

#include <mivosdk/CMNodesWorker.h>
#include <mivosdk/CMValueItem.h>

class AccountNode;
class BrowseUi;
class ContentManager;
class SiriusPlaylogic;

/// The module's entry object, the worker named "Sirius". It builds the library bridge, checks the
/// library's version, initialises the library, then the rest of the module; at run time every
/// request of the host passes through its queue, which holds requests back until the library is
/// signed in with the stored account and has its line-up, signing in on demand.
class SiriusWorker : public CMNodesWorker
{
    Q_OBJECT
public:
    explicit SiriusWorker(const QVariantHash& settings);
    ~SiriusWorker() override;

    bool isInitialized() const { return m_initialized; }

    bool getDataRequest(const CMGetDataRequest& request) override;
    bool getRowsRequest(const CMGetRowsRequest& request) override;
    /// Requests to the account node go past the queue, so that the account stays writable while
    /// the queue waits for a sign-in that needs it.
    bool setDataRequest(const CMSetDataRequest& request) override;

signals:
    void handleRequest(CMRequest r);

public slots:
    void on_handleRequest(CMRequest request);
    void on_accountNode_accountChanged();
    void on_tuneStart_changed(MivoValue value);
    void on_lib_globalSettings(const SiriusLib::Settings& settings);
    void on_lib_error(const MivoSiriusErrorNotification& errorNotification);
    void on_favorites_activated(const CMSetDataRequest& request);
    void on_clearRecents_activated(const CMSetDataRequest& request);

private:
    /// A pop-up on the host's notification display: the first text is the title, the rest the
    /// lines of the body. Nobody waits for it.
    void showMessage(const QStringList& messages, bool error);
    /// The texts of a bypass change from `before` to `after` (title first); sets `signedOut` when
    /// the stored account had to go.
    QStringList bypassMessages(const MivoSiriusBypassStatus& before,
                               const MivoSiriusBypassStatus& after, bool& signedOut);
    void forceSignIn();
    /// Stops playback as the host's stop would, with nobody waiting for the answer.
    void stopPlayback();
    bool checkVersion();
    bool initializeLibrary();
    void handleRequestSynced(const CMRequest& request);
    void handleNextRequest();
    void dispatch(const CMRequest& request);
    void refuse(const CMRequest& request, const char* message);

    SiriusLib* m_lib = nullptr;
    bool m_initialized = false;
    QList<CMRequest> m_requests; ///< the head is the request in progress
    AccountNode* m_accountNode = nullptr;
    ContentManager* m_contentManager = nullptr;
    BrowseUi* m_browseUi = nullptr;
    SiriusPlaylogic* m_playlogic = nullptr;
    CMValueItem* m_tuneStartItem = nullptr;
    SiriusLib::Settings m_globalSettings;
    MivoSiriusBypassStatus m_bypassStatus;
    bool m_fullFeatured = false;
};

#include "EmbeddedService.h"

#ifdef MIVO_HOST_EMBEDDED_SERVICE
#include <sxmservice/Server.h>

#include <nlohmann/json.hpp>

#include <stdexcept>
#endif

struct EmbeddedService::Impl
{
#ifdef MIVO_HOST_EMBEDDED_SERVICE
    std::unique_ptr<sxm::service::Server> server;
#endif
};

EmbeddedService::EmbeddedService()
    : m_impl(std::make_unique<Impl>())
{}

EmbeddedService::~EmbeddedService() = default;

bool EmbeddedService::isAvailable()
{
#ifdef MIVO_HOST_EMBEDDED_SERVICE
    return true;
#else
    return false;
#endif
}

QString EmbeddedService::demoUser()
{
    return QStringLiteral("demo");
}

QString EmbeddedService::demoPassword()
{
    return QStringLiteral("demo");
}

bool EmbeddedService::start(QString* error)
{
#ifdef MIVO_HOST_EMBEDDED_SERVICE
    try {
        sxm::service::Options options;
        options.accounts = {{demoUser().toStdString(), demoPassword().toStdString()}};
        m_impl->server = std::make_unique<sxm::service::Server>(options);
        m_impl->server->start("127.0.0.1", 0);
        return true;
    } catch (const std::exception& e) {
        m_impl->server.reset();
        *error = QStringLiteral("Cannot start the embedded service: %1").arg(e.what());
        return false;
    }
#else
    *error = QStringLiteral("This mivo-host was built without the embedded service; pass "
                            "--service URL");
    return false;
#endif
}

QString EmbeddedService::configUrl() const
{
#ifdef MIVO_HOST_EMBEDDED_SERVICE
    if (m_impl->server && m_impl->server->running())
        return QString::fromStdString(m_impl->server->configUrl());
#endif
    return QString();
}

namespace {

bool notRunning(QString* error)
{
    *error = QStringLiteral("The embedded service is not running");
    return false;
}

} // namespace

bool EmbeddedService::mergeFaults(const QByteArray& patch, QByteArray* faults, QString* error)
{
#ifdef MIVO_HOST_EMBEDDED_SERVICE
    if (!m_impl->server)
        return notRunning(error);
    const nlohmann::json json = nlohmann::json::parse(patch.toStdString(), nullptr, false);
    if (json.is_discarded() || !json.is_object()) {
        *error = QStringLiteral("A fault patch is a JSON object, e.g. {\"cutShiftMs\": 160000}");
        return false;
    }
    if (const auto refused = m_impl->server->faults().merge(json)) {
        *error = QString::fromStdString(*refused);
        return false;
    }
    *faults =
        QByteArray::fromStdString(sxm::service::toJson(m_impl->server->faults().snapshot()).dump());
    return true;
#else
    Q_UNUSED(patch);
    Q_UNUSED(faults);
    return notRunning(error);
#endif
}

bool EmbeddedService::runAction(const QString& action, QString* error)
{
#ifdef MIVO_HOST_EMBEDDED_SERVICE
    if (!m_impl->server)
        return notRunning(error);
    const std::string user = demoUser().toStdString();
    if (action == QLatin1String("endPlayback"))
        m_impl->server->endPlayback();
    else if (action == QLatin1String("changeFavorites"))
        m_impl->server->changeFavoritesElsewhere(user);
    else if (action == QLatin1String("changeRecents"))
        m_impl->server->changeRecentsElsewhere(user);
    else if (action == QLatin1String("exhaustSkips"))
        m_impl->server->exhaustSkips();
    else if (action == QLatin1String("expireSessions"))
        m_impl->server->expireSessions();
    else if (action == QLatin1String("reset"))
        m_impl->server->reset();
    else {
        *error = QStringLiteral("Unknown service action \"%1\" (endPlayback, changeFavorites, "
                                "changeRecents, exhaustSkips, expireSessions, reset)")
                     .arg(action);
        return false;
    }
    return true;
#else
    Q_UNUSED(action);
    return notRunning(error);
#endif
}

bool EmbeddedService::takeRequests(const QString& endpoint, QStringList* requests, QString* error)
{
#ifdef MIVO_HOST_EMBEDDED_SERVICE
    if (!m_impl->server)
        return notRunning(error);
    if (sxm::service::endpointNames().count(endpoint.toStdString()) == 0) {
        *error = QStringLiteral("Unknown endpoint name \"%1\" (see docs/service-api.md, Faults "
                                "and admin)")
                     .arg(endpoint);
        return false;
    }
    requests->clear();
    for (const std::string& request : m_impl->server->takeRequests(endpoint.toStdString()))
        requests->append(QString::fromStdString(request));
    return true;
#else
    Q_UNUSED(endpoint);
    Q_UNUSED(requests);
    return notRunning(error);
#endif
}

bool EmbeddedService::tunedPlaintext(TunedPlaintext* tuned, QString* error)
{
#ifdef MIVO_HOST_EMBEDDED_SERVICE
    if (!m_impl->server)
        return notRunning(error);
    const std::optional<sxm::service::TunedPlaintext> last = m_impl->server->tunedPlaintext();
    if (!last) {
        *error = QStringLiteral("The service has not been asked to tune anything yet");
        return false;
    }
    tuned->kind = QString::fromStdString(last->kind);
    tuned->id = QString::fromStdString(last->id);
    tuned->bitrate = last->bitrate;
    tuned->fromSegment = last->fromSegment;
    tuned->toSegment = last->toSegment;
    tuned->startOffsetMs = last->startOffsetMs;
    tuned->plaintext = QByteArray::fromStdString(last->plaintext);
    return true;
#else
    Q_UNUSED(tuned);
    return notRunning(error);
#endif
}

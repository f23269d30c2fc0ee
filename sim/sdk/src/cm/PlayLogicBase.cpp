#include "mivosdk/PlayLogicBase.h"

#include "mivosdk/CMRoot.h"
#include "mivosdk/MivoPaths.h"

#include <QHash>

PlayLogicBase::PlayLogicBase(const CMPath& path, QObject* parent)
    : CMNode(path, parent)
{}

bool PlayLogicBase::setDataRequest(const CMSetDataRequest& request)
{
    using Handler = void (PlayLogicBase::*)(const CMSetDataRequest&);
    static const QHash<QString, Handler> handlers = {
        {Play(), &PlayLogicBase::play},
        {Stop(), &PlayLogicBase::stop},
        {Pause(), &PlayLogicBase::pause},
        {Next(), &PlayLogicBase::next},
        {Previous(), &PlayLogicBase::previous},
        {Like(), &PlayLogicBase::like},
        {Dislike(), &PlayLogicBase::dislike},
        {SeekTime(), &PlayLogicBase::seekTime},
        {SeekBytes(), &PlayLogicBase::seekBytes},
        {SetCurrentTrack(), &PlayLogicBase::setCurrentTrack},
    };
    const Handler handler = handlers.value(request.role());
    if (!handler)
        return CMNode::setDataRequest(request);
    (this->*handler)(request);
    return true;
}

bool PlayLogicBase::getDataRequest(const CMGetDataRequest& request)
{
    if (request.role() == PlayModesSupported()) {
        request.reply().setResult(playModesSupported());
        return true;
    }
    if (request.role() == MivoPlayLogicDataPath().toEncoded().mid(1)) {
        request.reply().setResult(m_data.__variant());
        return true;
    }
    return CMNode::getDataRequest(request);
}

void PlayLogicBase::refuse(const CMSetDataRequest& request)
{
    request.reply().setError(
        CMError(TrString("PlayLogicBase", "%1 is not supported").arg(request.role())));
}

void PlayLogicBase::pause(const CMSetDataRequest& request)
{
    refuse(request);
}

void PlayLogicBase::next(const CMSetDataRequest& request)
{
    refuse(request);
}

void PlayLogicBase::previous(const CMSetDataRequest& request)
{
    refuse(request);
}

void PlayLogicBase::like(const CMSetDataRequest& request)
{
    refuse(request);
}

void PlayLogicBase::dislike(const CMSetDataRequest& request)
{
    refuse(request);
}

void PlayLogicBase::seekTime(const CMSetDataRequest& request)
{
    refuse(request);
}

void PlayLogicBase::seekBytes(const CMSetDataRequest& request)
{
    refuse(request);
}

void PlayLogicBase::setCurrentTrack(const CMSetDataRequest& request)
{
    refuse(request);
}

void PlayLogicBase::setData(const MivoPlayLogicData& data)
{
    m_data = data;
    CMRoot()->setValue(path() + MivoPlayLogicDataPath(), data.__variant());
}

void PlayLogicBase::setPlayTime(qint64 ms)
{
    CMRoot()->setValue(path() + MivoPlayLogicPositionPath(),
                       MivoValue().setLongLong(ms).__variant());
}

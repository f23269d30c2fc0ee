#include "mivosdk/CMError.h"

CMError::CMError(const TrString& message)
    : CMError(DefaultName(), message, DefaultTitle())
{}

CMError::CMError(const QString& name, const TrString& message, const TrString& title)
{
    setName(name);
    setTitle(title);
    setMessage(message);
}

QString CMError::DefaultName()
{
    return QStringLiteral("MivoError");
}

TrString CMError::DefaultTitle()
{
    return TrString("CMError", "Error");
}

QString CMError::toString() const
{
    return name() + QStringLiteral(": ") + message().toString();
}

QDebug operator<<(QDebug debug, const CMError& error)
{
    QDebugStateSaver saver(debug);
    debug.nospace() << "CMError(" << error.toString() << ')';
    return debug;
}

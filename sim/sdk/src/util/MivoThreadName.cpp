#include "mivosdk/MivoThreadName.h"

#include <QByteArray>
#include <QDebug>

#include <cerrno>
#include <cstring>
#include <sys/prctl.h>

namespace {

// TASK_COMM_LEN is 16 including the terminating zero.
constexpr int kMaxThreadNameBytes = 15;

bool isUtf8ContinuationByte(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// The longest prefix of utf8 that fits in maxBytes without splitting a multi-byte character.
QByteArray truncateUtf8(const QByteArray& utf8, int maxBytes)
{
    if (utf8.size() <= maxBytes)
        return utf8;
    int cut = maxBytes;
    // Stepping back over continuation bytes lands on the lead byte of the character that would
    // be split; cutting there drops that character whole.
    while (cut > 0 && isUtf8ContinuationByte(utf8.at(cut)))
        --cut;
    return utf8.left(cut);
}

} // namespace

void mivoSetThreadName(const QString& name)
{
    QByteArray utf8 = name.toUtf8();
    // The kernel stops at the first zero byte anyway; cutting there keeps the UTF-8 check honest.
    const int zero = utf8.indexOf('\0');
    if (zero >= 0)
        utf8.truncate(zero);
    const QByteArray shortName = truncateUtf8(utf8, kMaxThreadNameBytes);
    if (prctl(PR_SET_NAME, shortName.constData(), 0, 0, 0) != 0)
        qWarning("mivoSetThreadName(\"%s\") failed: %s", shortName.constData(),
                 std::strerror(errno));
}

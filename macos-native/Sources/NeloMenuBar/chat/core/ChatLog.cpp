#include "chat/core/ChatLog.h"

#include "base/AtomicFile.h"
#include "base/Text.h"
#include "chat/core/ChatFolder.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <memory>
#include <tuple>

#include <unicode/ubrk.h>

QString neloChatLogURL()
{
    return pathInChatFolder(QStringLiteral("menubar_chat.log"));
}

void neloChatLog(const QString& message)
{
    const QByteArray line =
        QStringLiteral("[%1] %2\n").arg(isoTimestamp(QDateTime::currentDateTimeUtc()), message).toUtf8();
    const QString path = neloChatLogURL();
    if (!QFileInfo::exists(path)) {
        std::ignore = writeFileAtomically(path, line);
        return;
    }
    QFile log(path);
    if (!QFileInfo(path).isFile() || !log.open(QFile::WriteOnly | QFile::Append | QFile::Unbuffered))
        return;
    const qint64 sizeBefore = log.size();
    if (log.write(line) != line.size())
        log.resize(sizeBefore); // the next entry would go on in the line that has only begun
}

qsizetype characterCount(const QString& text)
{
    // Not QTextBoundaryFinder: Qt 6.4 joins or parts the letters of most Indian scripts otherwise than the annex says.
    // Debian's QtCore has this library loaded already.
    UErrorCode error = U_ZERO_ERROR;
    constexpr const char* anyLanguage = "";
    const std::unique_ptr<UBreakIterator, decltype(&ubrk_close)> boundaries(
        ubrk_open(UBRK_CHARACTER, anyLanguage, reinterpret_cast<const UChar*>(text.utf16()),
                  static_cast<int32_t>(text.size()), &error),
        &ubrk_close);
    if (U_FAILURE(error) != 0)
        return text.size(); // the library's own tables are missing or memory is: near enough for a log
    qsizetype count = 0;
    while (ubrk_next(boundaries.get()) != UBRK_DONE)
        ++count;
    return count;
}

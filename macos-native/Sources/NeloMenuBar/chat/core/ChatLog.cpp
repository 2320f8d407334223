#include "chat/core/ChatLog.h"

#include "base/AtomicFile.h"
#include "base/Text.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <memory>
#include <tuple>

#include <unicode/ubrk.h>

QString pathInChatFolder(const QString& fileName)
{
    const QDir folder(QDir::home().filePath(QStringLiteral(".nelo")));
    folder.mkpath(QStringLiteral("."));
    return folder.filePath(fileName);
}

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
        log.resize(sizeBefore); // otherwise the next entry would continue the broken line
}

qsizetype characterCount(const QString& text)
{
    // QTextBoundaryFinder of Qt 6.4 does not follow the annex in most Indian scripts. ICU does, and Debian's QtCore has
    // loaded it already.
    UErrorCode error = U_ZERO_ERROR;
    constexpr const char* anyLanguage = "";
    const std::unique_ptr<UBreakIterator, decltype(&ubrk_close)> boundaries(
        ubrk_open(UBRK_CHARACTER, anyLanguage, reinterpret_cast<const UChar*>(text.utf16()),
                  static_cast<int32_t>(text.size()), &error),
        &ubrk_close);
    if (U_FAILURE(error) != 0)
        return text.size(); // ICU has no data or no memory: this number is near enough for a log
    qsizetype count = 0;
    while (ubrk_next(boundaries.get()) != UBRK_DONE)
        ++count;
    return count;
}

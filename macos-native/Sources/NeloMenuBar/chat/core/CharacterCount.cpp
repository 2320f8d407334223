#include "chat/core/CharacterCount.h"

#include <memory>

#include <unicode/ubrk.h>

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

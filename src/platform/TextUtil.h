#pragma once

#include <QString>
#include <QStringView>

// Small text helpers with the program's own rules: only the blank (U+0020)
// counts as a space when trimming, and positions are 1-based where the
// algorithms count them so.
namespace platform {

inline QStringView TrimSpaces(QStringView text) {
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && text[begin] == u' ')
        ++begin;
    while (end > begin && text[end - 1] == u' ')
        --end;
    return text.mid(begin, end - begin);
}

inline QString TrimSpaces(const QString& text) {
    return TrimSpaces(QStringView(text)).toString();
}

} // namespace platform

#include "formats/DecimalComma.h"

namespace {

QString replaceFirst(const QString& text, char16_t from, char16_t to) {
    QString result = text;
    const qsizetype at = result.indexOf(QChar(from));
    if (at >= 0)
        result[at] = QChar(to);
    return result;
}

} // namespace

QString CommaToPoint(const QString& text) {
    return replaceFirst(text, u',', u'.');
}

QString PointToComma(const QString& text) {
    return replaceFirst(text, u'.', u',');
}

#include "formats/DecimalComma.h"

QString CommaToPoint(const QString& text) {
    QString result = text;
    const qsizetype comma = result.indexOf(u',');
    if (comma >= 0)
        result[comma] = u'.';
    return result;
}

QString PointToComma(const QString& text) {
    QString result = text;
    const qsizetype point = result.indexOf(u'.');
    if (point >= 0)
        result[point] = u',';
    return result;
}

#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace testing {

QString dataFile(const QString& name) {
    return QStringLiteral(TOVALIN_TEST_DATA "/") + name;
}

void writeBytes(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("cannot write %s", qPrintable(path));
    file.write(bytes);
}

QByteArray readBytes(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    return file.readAll();
}

} // namespace testing

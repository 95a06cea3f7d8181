#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QString>
#include <QTest>

// Helpers shared by the tests.
namespace testing {

// The two regional formats every rule is checked under.
inline QLocale frenchFormat() {
    return QLocale(QLocale::French, QLocale::France);
}
inline QLocale englishFormat() {
    return QLocale(QLocale::English, QLocale::UnitedStates);
}

// Sets the run's regional format for the scope and restores it after.
class RegionalFormatScope {
public:
    explicit RegionalFormatScope(const QLocale& locale) : saved_(QLocale()) {
        QLocale::setDefault(locale);
    }
    ~RegionalFormatScope() { QLocale::setDefault(saved_); }

private:
    QLocale saved_;
};

// The settings file, in the run's own configuration folder.
inline QString iniPath() {
    return qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Tovalin/Tovalin.ini");
}

// Path of a file in tests/data.
inline QString dataFile(const QString& name) {
    return QStringLiteral(TOVALIN_TEST_DATA "/") + name;
}

// Writes raw bytes to a file (creating folders as needed).
inline void writeBytes(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("cannot write %s", qPrintable(path));
    file.write(bytes);
}
inline QByteArray readBytes(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace testing

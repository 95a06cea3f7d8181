#pragma once

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
QString dataFile(const QString& name);

// Writes raw bytes to a file (creating folders as needed).
void writeBytes(const QString& path, const QByteArray& bytes);
QByteArray readBytes(const QString& path);

} // namespace testing

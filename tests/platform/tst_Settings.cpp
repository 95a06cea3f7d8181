#include "TestRunner.h"
#include "TestSupport.h"

#include "platform/SettingsStore.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTest>

using namespace platform;

namespace {

const QString kParametre = QStringLiteral("Paramètre");

QString iniPath() {
    return qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Tovalin/Tovalin.ini");
}

// What QSettings itself reads for a key, lists joined back.
QString readByQSettings(const QString& key) {
    QSettings settings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Tovalin"),
                       QStringLiteral("Tovalin"));
    const QVariant value = settings.value(key);
    return value.typeId() == QMetaType::QStringList ? value.toStringList().join(u',')
                                                    : value.toString();
}

} // namespace

class TestSettings : public QObject {
    Q_OBJECT

private slots:
    void init() { QFile::remove(iniPath()); }

    void fileIsUnderConfigHome();
    void handWrittenFile_data();
    void handWrittenFile();
    void valuesRoundTrip_data();
    void valuesRoundTrip();
    void handWrittenValuesSurviveAWrite();
    void anotherStoreSeesAWrite();
};

void TestSettings::fileIsUnderConfigHome() {
    QVERIFY(!qEnvironmentVariableIsEmpty("XDG_CONFIG_HOME"));
    IniSettingsStore store;
    QCOMPARE(QDir::cleanPath(store.fileName()), QDir::cleanPath(iniPath()));
}

void TestSettings::handWrittenFile_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("section");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("expected");
    const QString sep = QStringLiteral("Separateur_Lec");
    const QString def = QStringLiteral("<default>");

    QTest::newRow("raw UTF-8 section, semicolon")
        << QByteArray("[Param\xc3\xa8tre]\nSeparateur_Lec=;\n") << kParametre << sep << ";";
    QTest::newRow("unquoted comma")
        << QByteArray("[Param\xc3\xa8tre]\nSeparateur_Lec=,\n") << kParametre << sep << ",";
    QTest::newRow("escaped section, quoted comma")
        << QByteArray("[Param%E8tre]\nSeparateur_Lec=\",\"\n") << kParametre << sep << ",";
    QTest::newRow("wide escaped section")
        << QByteArray("[Param%U00E8tre]\nSeparateur_Lec=|\n") << kParametre << sep << "|";
    QTest::newRow("quoted blank") << QByteArray("[Param\xc3\xa8tre]\nSeparateur_Lec=\" \"\n")
                                  << kParametre << sep << " ";
    QTest::newRow("escaped tab") << QByteArray("[Param\xc3\xa8tre]\nSeparateur_Lec=\\t\n")
                                 << kParametre << sep << "\t";
    QTest::newRow("CR LF, blanks around") << QByteArray("[App]\r\n  NbDec  =  0.000 \r\n") << "App"
                                          << "NbDec"
                                          << "0.000";
    QTest::newRow("commas and blanks kept") << QByteArray("[Divers]\nListe=a, b ;c\n") << "Divers"
                                            << "Liste"
                                            << "a, b ;c";
    QTest::newRow("UTF-8 value") << QByteArray("[Divers]\nNom=caf\xc3\xa9 \xe2\x82\xac\n")
                                 << "Divers"
                                 << "Nom"
                                 << "café €";
    QTest::newRow("comment lines") << QByteArray("; note\n[App]\n;K=1\nK=2\n") << "App"
                                   << "K"
                                   << "2";
    QTest::newRow("later line wins")
        << QByteArray("[App]\nK=1\n[Divers]\nK=9\n[App]\nK=3\n") << "App"
        << "K"
        << "3";
    QTest::newRow("empty value is not the default") << QByteArray("[App]\nK=\n") << "App"
                                                    << "K"
                                                    << "";
    QTest::newRow("missing key") << QByteArray("[App]\nK=1\n") << "App"
                                 << "L" << def;
    QTest::newRow("key in another section") << QByteArray("[Divers]\nK=1\n") << "App"
                                            << "K" << def;
}

void TestSettings::handWrittenFile() {
    QFETCH(QByteArray, content);
    QFETCH(QString, section);
    QFETCH(QString, key);
    QFETCH(QString, expected);
    testing::writeBytes(iniPath(), content);
    IniSettingsStore store;
    QCOMPARE(store.value(section, key, QStringLiteral("<default>")), expected);
}

void TestSettings::valuesRoundTrip_data() {
    QTest::addColumn<QString>("value");
    QTest::newRow("comma") << ",";
    QTest::newRow("blank") << " ";
    QTest::newRow("tab") << "\t";
    QTest::newRow("semicolon") << ";";
    QTest::newRow("empty") << "";
    QTest::newRow("quotes and backslashes") << R"("q" C:\dir\n \\)";
    QTest::newRow("leading at") << "@Invalid()";
    QTest::newRow("blanks around") << "  a, b  ";
    QTest::newRow("equals and hash") << "#a=b";
    QTest::newRow("non-ASCII") << QStringLiteral("é€\u202f");
    QTest::newRow("controls") << QStringLiteral("\u0001"
                                                "1\n2\r");
}

void TestSettings::valuesRoundTrip() {
    QFETCH(QString, value);
    {
        IniSettingsStore store;
        store.setValue(kParametre, QStringLiteral("Valeur"), value);
        QCOMPARE(store.value(kParametre, QStringLiteral("Valeur"), QString()), value);
    }
    IniSettingsStore fresh;
    QCOMPARE(fresh.value(kParametre, QStringLiteral("Valeur"), QString()), value);
    // Another reader of the file (QSettings itself) gets the same text.
    QCOMPARE(readByQSettings(kParametre + QStringLiteral("/Valeur")), value);
}

void TestSettings::handWrittenValuesSurviveAWrite() {
    testing::writeBytes(iniPath(), "[Param\xc3\xa8tre]\nSeparateur_Lec=;\nSeparateur_Autre_Lec=,\n"
                                   "[Divers]\nLien=a;b\n");
    {
        IniSettingsStore store;
        store.setValue(QStringLiteral("App"), QStringLiteral("Version"), QStringLiteral("3"));
    }
    IniSettingsStore store;
    QCOMPARE(store.value(kParametre, QStringLiteral("Separateur_Lec"), QString()), ";");
    QCOMPARE(store.value(kParametre, QStringLiteral("Separateur_Autre_Lec"), QString()), ",");
    QCOMPARE(store.value(QStringLiteral("Divers"), QStringLiteral("Lien"), QString()), "a;b");
    QCOMPARE(store.value(QStringLiteral("App"), QStringLiteral("Version"), QString()), "3");
    QCOMPARE(readByQSettings(kParametre + QStringLiteral("/Separateur_Lec")), ";");
}

void TestSettings::anotherStoreSeesAWrite() {
    IniSettingsStore reader;
    IniSettingsStore writer;
    QCOMPARE(reader.value(QStringLiteral("App"), QStringLiteral("K"), QStringLiteral("none")),
             "none");
    writer.setValue(QStringLiteral("App"), QStringLiteral("K"), QStringLiteral("first"));
    QCOMPARE(reader.value(QStringLiteral("App"), QStringLiteral("K"), QString()), "first");
    writer.setValue(QStringLiteral("App"), QStringLiteral("K"), QStringLiteral("second value"));
    QCOMPARE(reader.value(QStringLiteral("App"), QStringLiteral("K"), QString()), "second value");
}

TOVALIN_TEST(TestSettings)
#include "tst_Settings.moc"

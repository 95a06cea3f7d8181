#include "Fixtures.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "platform/ScriptedDialogs.h"
#include "platform/SettingsStore.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTest>

using namespace platform;
using namespace testing;

namespace {

const QString kParametre = QStringLiteral("Paramètre");

// What QSettings itself reads for a key, lists joined back.
QString readByQSettings(const QString& key, const QString& defaultValue = QString()) {
    QSettings settings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Tovalin"),
                       QStringLiteral("Tovalin"));
    const QVariant value = settings.value(key, defaultValue);
    return value.typeId() == QMetaType::QStringList ? value.toStringList().join(u',')
                                                    : value.toString();
}

struct HandWritten {
    QByteArray content;
    QString section;
    QString key;
    QString expected;
};

} // namespace
Q_DECLARE_METATYPE(HandWritten)

class TestSettings : public QObject {
    Q_OBJECT

private slots:
    void init() { QFile::remove(iniPath()); }

    void handWrittenFile_data() {
        Rows<HandWritten> row;
        const QByteArray sep = "[Param\xc3\xa8tre]\nSeparateur_Lec=";
        row("raw UTF-8 section, semicolon", {sep + ";\n", kParametre, "Separateur_Lec", ";"});
        row("escaped section, quoted comma",
            {"[Param%E8tre]\nSeparateur_Lec=\",\"\n", kParametre, "Separateur_Lec", ","});
        row("wide escaped section",
            {"[Param%U00E8tre]\nSeparateur_Lec=|\n", kParametre, "Separateur_Lec", "|"});
        row("quoted blank", {sep + "\" \"\n", kParametre, "Separateur_Lec", " "});
        row("escaped tab", {sep + "\\t\n", kParametre, "Separateur_Lec", "\t"});
        row("CR LF, blanks around", {"[App]\r\n  NbDec  =  0.000 \r\n", "App", "NbDec", "0.000"});
        row("commas and blanks kept", {"[Divers]\nListe=a, b ;c\n", "Divers", "Liste", "a, b ;c"});
        row("comment lines", {"; note\n[App]\n;K=1\nK=2\n", "App", "K", "2"});
        row("later line wins", {"[App]\nK=1\n[Divers]\nK=9\n[App]\nK=3\n", "App", "K", "3"});
        row("empty value is not the default", {"[App]\nK=\n", "App", "K", ""});
        row("missing key", {"[App]\nK=1\n", "App", "L", "<default>"});
        row("key in another section", {"[Divers]\nK=1\n", "App", "K", "<default>"});
    }

    // Read as written by hand; after the store writes another key, the same for
    // a fresh store and for QSettings itself.
    void handWrittenFile() {
        QFETCH(HandWritten, c);
        writeBytes(iniPath(), c.content);
        const QString none = QStringLiteral("<default>");
        QCOMPARE(IniSettingsStore().value(c.section, c.key, none), c.expected);
        IniSettingsStore().setValue(QStringLiteral("Divers"), QStringLiteral("Autre"),
                                    QStringLiteral("3"));
        QCOMPARE(IniSettingsStore().value(c.section, c.key, none), c.expected);
        QCOMPARE(readByQSettings(c.section + u'/' + c.key, none), c.expected);
    }

    void valuesRoundTrip_data() {
        QTest::addColumn<QString>("value");
        QTest::newRow("comma") << ",";
        QTest::newRow("tab") << "\t";
        QTest::newRow("empty") << "";
        QTest::newRow("quotes and backslashes") << R"("q" C:\dir\n \\)";
        QTest::newRow("leading at") << "@Invalid()";
        QTest::newRow("blanks around") << "  a, b  ";
        QTest::newRow("equals and hash") << "#a=b";
        QTest::newRow("non-ASCII") << QStringLiteral("é€\u202f");
        QTest::newRow("controls") << QStringLiteral("\u0001"
                                                    "1\n2\r");
    }

    void valuesRoundTrip() {
        QFETCH(QString, value);
        const QString key = QStringLiteral("Valeur");
        IniSettingsStore reader; // opened before the writes, it must still see them
        {
            IniSettingsStore store;
            store.setValue(kParametre, key, QStringLiteral("first"));
            QCOMPARE(reader.value(kParametre, key, QString()), QStringLiteral("first"));
            store.setValue(kParametre, key, value);
            QCOMPARE(store.value(kParametre, key, QString()), value);
            QCOMPARE(reader.value(kParametre, key, QString()), value);
        }
        IniSettingsStore fresh;
        QCOMPARE(fresh.value(kParametre, key, QString()), value);
        // Another reader of the file (QSettings itself) gets the same text.
        QCOMPARE(readByQSettings(kParametre + u'/' + key), value);
    }

    // Settings that cannot be written (their folder is a file): said once
    // per run, naming the file.
    void writeFailures_data() {
        QTest::addColumn<bool>("writable");
        QTest::newRow("writable") << true;
        QTest::newRow("folder is a file") << false;
    }

    void writeFailures() {
        QFETCH(bool, writable);
        const QString folder = QFileInfo(iniPath()).path();
        QDir(folder).removeRecursively();
        if (!writable)
            writeBytes(folder, "");
        ScriptedDialogs messages;
        messages.setThrowOnUnexpected(false);
        IniSettingsStore store;
        store.reportWriteFailuresTo(messages);
        store.setValue(QStringLiteral("App"), QStringLiteral("NbDec"), QStringLiteral("0.0"));
        store.setValue(QStringLiteral("App"), QStringLiteral("SepSys"), QStringLiteral("1"));
        const QString written = readByQSettings(QStringLiteral("App/NbDec"));
        QFile::remove(folder);
        QDir().mkpath(folder);
        QCOMPARE(int(messages.boxes().size()), writable ? 0 : 1);
        if (writable) {
            QCOMPARE(written, QStringLiteral("0.0"));
            return;
        }
        QCOMPARE(messages.boxes().front().prompt,
                 IniSettingsStore::writeFailureText(QDir::toNativeSeparators(iniPath())));
        QVERIFY(messages.boxes().front().prompt.contains(QStringLiteral("Tovalin/Tovalin.ini")));
        QCOMPARE(messages.boxes().front().icon, MsgIcon::Critical);
    }
};

TOVALIN_TEST(TestSettings)
#include "tst_Settings.moc"

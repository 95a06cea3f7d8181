#include "Fixtures.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "platform/ScriptedDialogs.h"
#include "platform/SettingsStore.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSettings>
#include <QTest>
#include <functional>
#include <unistd.h>

using namespace platform;
using testing::Rows;

namespace {

const QString kParametre = QStringLiteral("Paramètre");

QString iniPath() {
    return qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Tovalin/Tovalin.ini");
}

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
        row("unquoted comma", {sep + ",\n", kParametre, "Separateur_Lec", ","});
        row("escaped section, quoted comma",
            {"[Param%E8tre]\nSeparateur_Lec=\",\"\n", kParametre, "Separateur_Lec", ","});
        row("wide escaped section",
            {"[Param%U00E8tre]\nSeparateur_Lec=|\n", kParametre, "Separateur_Lec", "|"});
        row("quoted blank", {sep + "\" \"\n", kParametre, "Separateur_Lec", " "});
        row("escaped tab", {sep + "\\t\n", kParametre, "Separateur_Lec", "\t"});
        row("CR LF, blanks around", {"[App]\r\n  NbDec  =  0.000 \r\n", "App", "NbDec", "0.000"});
        row("commas and blanks kept", {"[Divers]\nListe=a, b ;c\n", "Divers", "Liste", "a, b ;c"});
        row("UTF-8 value", {"[Divers]\nNom=caf\xc3\xa9 \xe2\x82\xac\n", "Divers", "Nom", "café €"});
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
        testing::writeBytes(iniPath(), c.content);
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

    // Settings that cannot be written: said once per run, naming the file. The
    // file and the folder are made immutable as well as read-only, since the
    // tests may run as root, whom permissions do not stop.
    void writeFailures_data() {
        QTest::addColumn<QString>("failure");
        QTest::addColumn<int>("boxes");
        QTest::newRow("writable") << "" << 0;
        QTest::newRow("read-only file") << "file" << 1;
        QTest::newRow("read-only folder") << "folder" << 1;
        QTest::newRow("folder is a file") << "not a folder" << 1;
    }

    void writeFailures() {
        QFETCH(QString, failure);
        QFETCH(int, boxes);
        const QString folder = QFileInfo(iniPath()).path();
        QDir().mkpath(folder);
        testing::writeBytes(iniPath(), "[App]\nNbDec=0.000\n");
        const auto protect = [](const QString& path, bool on) {
            QFile::setPermissions(path,
                                  on ? QFile::ReadOwner | QFile::ExeOwner
                                     : QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
            return QProcess::execute(QStringLiteral("chattr"),
                                     {on ? QStringLiteral("+i") : QStringLiteral("-i"), path}) == 0;
        };
        const QString target = failure == u"file" ? iniPath() : folder;
        struct Restore {
            std::function<void()> undo;
            ~Restore() { undo(); }
        } restore{[&] {
            if (failure == u"file" || failure == u"folder")
                protect(target, false);
            if (failure == u"not a folder") {
                QFile::remove(folder);
                QDir().mkpath(folder);
            }
        }};
        if ((failure == u"file" || failure == u"folder") && !protect(target, true) &&
            geteuid() == 0)
            QSKIP("chattr cannot protect the settings from root here");
        if (failure == u"not a folder") {
            QDir(folder).removeRecursively();
            testing::writeBytes(folder, "");
        }
        ScriptedDialogs messages;
        messages.setThrowOnUnexpected(false);
        IniSettingsStore store;
        store.reportWriteFailuresTo(messages);
        store.setValue(QStringLiteral("App"), QStringLiteral("NbDec"), QStringLiteral("0.0"));
        store.setValue(QStringLiteral("App"), QStringLiteral("SepSys"), QStringLiteral("1"));
        QCOMPARE(int(messages.boxes().size()), boxes);
        if (boxes == 0) {
            QCOMPARE(readByQSettings(QStringLiteral("App/NbDec")), QStringLiteral("0.0"));
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

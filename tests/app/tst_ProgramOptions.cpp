#include "TestRunner.h"

#include <QProcess>
#include <QTest>

// The program's --help and --version, answered without a display: no
// platform plugin, no DISPLAY, and nothing else printed.
class TestProgramOptions : public QObject {
    Q_OBJECT

private slots:
    void withoutDisplay_data();
    void withoutDisplay();
};

void TestProgramOptions::withoutDisplay_data() {
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("firstLine");
    QTest::newRow("version") << QStringList{"--version"}
                             << QStringLiteral("Tovalin " TOVALIN_VERSION_TEXT);
    QTest::newRow("help") << QStringList{"--help"}
                          << QStringLiteral("Tovalin : éditeur et convertisseur de fichiers de "
                                            "points topographiques.");
    QTest::newRow("help after a file") << QStringList{"points.xyz", "-h"}
                                       << QStringLiteral("Tovalin : éditeur et convertisseur de "
                                                         "fichiers de points topographiques.");
}

void TestProgramOptions::withoutDisplay() {
    QFETCH(QStringList, args);
    QFETCH(QString, firstLine);
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        env.remove(QString::fromLatin1(name));
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(TOVALIN_BINARY_DIR "/bin/tovalin"), args);
    QVERIFY(process.waitForFinished(20000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(process.readAllStandardError(), QByteArray());
    const QString out = QString::fromUtf8(process.readAllStandardOutput());
    QCOMPARE(out.section(u'\n', 0, 0), firstLine);
}

TOVALIN_TEST(TestProgramOptions)
#include "tst_ProgramOptions.moc"

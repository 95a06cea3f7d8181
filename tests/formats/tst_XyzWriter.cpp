#include "TestRunner.h"
#include "TestSupport.h"
#include "WriterHarness.h"

#include "formats/XyzReader.h"
#include "formats/XyzWriter.h"

#include <QFileInfo>
#include <QTemporaryDir>

using namespace testing;

namespace {

void setWriteSettings(GestionDonnee& state, const QString& sep, const QString& other,
                      const QString& dim, const QString& nbDec) {
    state.Settings.Separateur_Ecr = sep;
    state.Settings.Separateur_Autre_Ecr = other;
    state.Settings.Fich_Dim = dim;
    state.Settings.NbDec = nbDec;
    // Grouping on for display must not reach the file.
    state.Settings.SepSys = 1;
}

void addSamplePoints(WriterHarness& h) {
    h.addPoint(QStringLiteral("12"), 1000.5, 2000.25, 35.1);
    // 1234567.8915 is just below .8915 as a double: rounded from 15 digits.
    h.addPoint(QStringLiteral("Bé-7"), -12.3456, -0.4, 1234567.8915);
    h.addPoint(QStringLiteral("€ 3"), 0, 0, 0);
}

QString errorBox(const char* number, const QString& description) {
    return QStringLiteral("Erreur n° ") + QLatin1String(number) +
           QStringLiteral("\r\nDescription : ") + description;
}

} // namespace

class TestXyzWriter : public QObject {
    Q_OBJECT
private slots:
    void goldenFiles_data();
    void goldenFiles();
    void lines_data();
    void lines();
    void extCfgReadForEveryPoint();
    void errorsReported_data();
    void errorsReported();
    void readsBack_data();
    void readsBack();
};

void TestXyzWriter::goldenFiles_data() {
    QTest::addColumn<bool>("french");
    QTest::addColumn<QStringList>("settings"); // Separateur_Ecr, Fich_Dim, NbDec
    QTest::addColumn<QString>("golden");
    QTest::newRow("French ; 3D") << true << QStringList{";", "3D", "0.000"}
                                 << QStringLiteral("writer-fr-3d.xyz");
    QTest::newRow("English tab 2D")
        << false << QStringList{"\t", "2D", "0.0"} << QStringLiteral("writer-en-2d.xyz");
}

void TestXyzWriter::goldenFiles() {
    QFETCH(bool, french);
    QFETCH(QStringList, settings);
    QFETCH(QString, golden);
    RegionalFormatScope scope(french ? frenchFormat() : englishFormat());
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("out.xyz"));

    WriterHarness h;
    setWriteSettings(h.state, settings[0], QString(), settings[1], settings[2]);
    addSamplePoints(h);
    WriteXyzFile(h.context, file);

    QCOMPARE(readBytes(file), readBytes(dataFile(golden)));
    QCOMPARE(h.window.labels, (QStringList{"Enregistrement XYZ : ", "Nombre de points : 3"}));
    QCOMPARE(h.progress.captions, 3);
    QCOMPARE(h.progress.last, QStringLiteral("Enregistrement XYZ : Point 3/3"));
    QVERIFY(h.dialogs.boxes().empty());
}

void TestXyzWriter::lines_data() {
    QTest::addColumn<bool>("french");
    // Separateur_Ecr, Separateur_Autre_Ecr, Fich_Dim, NbDec, ExtCfg (null: absent)
    QTest::addColumn<QStringList>("settings");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QList<double>>("xyz");
    QTest::addColumn<QString>("expected");
    auto row = [](const char* title, bool french, const QStringList& settings, const char* name,
                  const QList<double>& xyz, const char* expected) {
        QTest::newRow(title) << french << settings << QString::fromUtf8(name) << xyz
                             << QString::fromUtf8(expected);
    };
    const QList<double> p1{1234.5, 10, 2};
    // The decimal commas cannot be told from the separator: as users have it.
    row("comma separator, French", true, {",", "", "3D", "0.000", QString()}, "P1", p1,
        "P1,1234,500,10,000,2,000");
    row("other separator wins", true, {";", "|", "3D", "0.000", "0"}, "P1", p1,
        "P1|1234,500|10,000|2,000");
    row("2D keeps its point", true, {";", "", "2D", "0.000", "0"}, "P1", p1,
        "P1;1234,500;10,000;0.000");
    row("never grouped", false, {";", "", "3D", "0.00", "0"}, "P1", {1234567.891, -0.004, 2},
        "P1;1234567.89;-0.00;2.00");
    row("ticked: default text, French", true, {";", "", "3D", "0.000", "1"}, "P1",
        {1234.5, 0.1 + 0.2, 1e20}, "P1;1234,5;0,3;1E+20");
    row("ticked: default text, English", false, {";", "", "2D", "0.000", "1"}, "P1",
        {1234.5, 1.5e-7, -2}, "P1;1234.5;1.5E-07;0.000");
    // Read as a number in the regional format, not compared as a text.
    row("ExtCfg 0,0 is zero", true, {";", "", "3D", "0.0", "0,0"}, "P1", {1.25, 2, 3},
        "P1;1,3;2,0;3,0");
    row("empty NbDec", true, {";", "", "3D", "", "0"}, "P1", {1.25, 2, 3}, "P1;1,25;2;3");
    row("identifier not quoted", false, {",", "", "3D", "0", "0"}, "A,\"B\"", {1, 2, 3},
        "A,\"B\",1,2,3");
}

void TestXyzWriter::lines() {
    QFETCH(bool, french);
    QFETCH(QStringList, settings);
    QFETCH(QString, name);
    QFETCH(QList<double>, xyz);
    QFETCH(QString, expected);
    RegionalFormatScope scope(french ? frenchFormat() : englishFormat());
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("out.xyz"));

    WriterHarness h;
    setWriteSettings(h.state, settings[0], settings[1], settings[2], settings[3]);
    if (!settings[4].isNull())
        h.settings.setValue(QStringLiteral("App"), QStringLiteral("ExtCfg"), settings[4]);
    h.addPoint(name, xyz[0], xyz[1], xyz[2]);
    WriteXyzFile(h.context, file);

    QCOMPARE(QString::fromLatin1(readBytes(file)), expected + QStringLiteral("\r\n"));
}

void TestXyzWriter::extCfgReadForEveryPoint() {
    RegionalFormatScope scope(frenchFormat());
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("out.xyz"));
    WriterHarness h;
    setWriteSettings(h.state, QStringLiteral(";"), QString(), QStringLiteral("3D"),
                     QStringLiteral("0.00"));
    h.addPoint(QStringLiteral("P1"), 0.125, 1, 2);
    h.addPoint(QStringLiteral("P2"), 0.25, 1, 2);
    h.addPoint(QStringLiteral("P3"), 0.375, 1, 2);
    // The box gets ticked once the first line is written.
    h.settings.onRead = [&h](int reads) {
        if (reads == 2)
            h.settings.values[QStringLiteral("App/ExtCfg")] = QStringLiteral("1");
    };
    WriteXyzFile(h.context, file);
    QCOMPARE(readBytes(file), QByteArray("P1;0,13;1,00;2,00\r\nP2;0,25;1;2\r\nP3;0,375;1;2\r\n"));
}

void TestXyzWriter::errorsReported_data() {
    QTest::addColumn<QString>("target"); // relative names go into a temporary folder
    QTest::addColumn<QString>("extCfg");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("linesWritten"); // -1: not checked
    QTest::addColumn<QString>("box");      // empty: no error
    QTest::addColumn<QString>("label");    // the last caption shown
    auto row = [](const char* title, const char* target, const char* extCfg, int count,
                  int linesWritten, const QString& box, const char* label) {
        QTest::newRow(title) << QString::fromLatin1(target) << QString::fromLatin1(extCfg) << count
                             << linesWritten << box << QString::fromLatin1(label);
    };
    const char* first = "Enregistrement XYZ : Point 1/1";
    row("missing folder", "/nonexistent-folder-for-tests/out.xyz", "0", 1, -1,
        errorBox("76", QStringLiteral("Chemin d'accès introuvable")), "");
    row("a folder", ".", "0", 1, -1,
        errorBox("75", QStringLiteral("Erreur d'accès chemin/fichier")), "");
    // Buffered: the write fails when the file is closed.
    row("disk full", "/dev/full", "0", 1, -1, errorBox("61", QStringLiteral("Disque plein")),
        first);
    // The file is already created when the setting turns out to be no number.
    row("ExtCfg no number", "out.xyz", "oui", 1, 0,
        errorBox("13", QStringLiteral("Incompatibilité de type")), "");
    row("32,767 points", "out.xyz", "0", 32767, 32767, QString(), "Nombre de points : 32767");
    // The counter steps past 32,767 after the last line.
    row("32,768 points", "out.xyz", "0", 32768, 32768,
        errorBox("6", QStringLiteral("Dépassement de capacité")),
        "Enregistrement XYZ : Point 32768/32768");
    // The bound itself overflows once the file is created.
    row("32,769 points", "out.xyz", "0", 32769, 0,
        errorBox("6", QStringLiteral("Dépassement de capacité")), "");
}

void TestXyzWriter::errorsReported() {
    QFETCH(QString, target);
    QFETCH(QString, extCfg);
    QFETCH(int, count);
    QFETCH(int, linesWritten);
    QFETCH(QString, box);
    QFETCH(QString, label);
    RegionalFormatScope scope(frenchFormat());
    QTemporaryDir dir;
    const QString file = target.startsWith(u'/') ? target : dir.filePath(target);
    WriterHarness h;
    setWriteSettings(h.state, QStringLiteral(","), QString(), QStringLiteral("3D"),
                     QStringLiteral("0"));
    h.settings.setValue(QStringLiteral("App"), QStringLiteral("ExtCfg"), extCfg);
    for (int i = 0; i < count; ++i)
        h.addPoint(QStringLiteral("A"), 1, 2, 3);
    if (!box.isEmpty())
        h.dialogs.answerMessage(platform::MsgAnswer::Ok);

    WriteXyzFile(h.context, file);

    if (linesWritten >= 0) {
        QVERIFY(QFileInfo::exists(file));
        const QByteArray bytes = readBytes(file);
        QCOMPARE(bytes.size(), qsizetype(linesWritten) * 9);
        QVERIFY(bytes.isEmpty() || bytes.endsWith("A,1,2,3\r\n"));
    }
    if (box.isEmpty()) {
        QVERIFY(h.dialogs.boxes().empty());
        QCOMPARE(h.window.labels.last(), label);
        return;
    }
    QCOMPARE(h.dialogs.boxes().size(), std::size_t(1));
    const platform::RecordedBox& shown = h.dialogs.boxes().front();
    QCOMPARE(shown.prompt, box);
    QCOMPARE(shown.title, QStringLiteral("Tovalin"));
    QVERIFY(shown.buttons == platform::MsgButtons::Ok && shown.icon == platform::MsgIcon::Critical);
    // No closing caption: the label keeps the last progress text.
    QCOMPARE(h.window.labels, QStringList{"Enregistrement XYZ : "});
    QCOMPARE(h.progress.flushed, label);
}

void TestXyzWriter::readsBack_data() {
    QTest::addColumn<QString>("extCfg");
    QTest::addColumn<QList<double>>("values");
    QTest::newRow("formatted") << "0" << QList<double>{1234.5, -0.125, 1e6, 0, 7.001, -99999.999};
    QTest::newRow("default text") << "1"
                                  << QList<double>{0.1,  -1234.5678, 1.5e-7, 123456789012.345,
                                                   1e20, -3};
}

void TestXyzWriter::readsBack() {
    QFETCH(QString, extCfg);
    QFETCH(QList<double>, values);
    RegionalFormatScope scope(frenchFormat());
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("out.xyz"));
    WriterHarness h;
    setWriteSettings(h.state, QStringLiteral(";"), QString(), QStringLiteral("3D"),
                     QStringLiteral("0.000"));
    h.settings.setValue(QStringLiteral("App"), QStringLiteral("ExtCfg"), extCfg);
    h.addPoint(QStringLiteral("Bé 1"), values[0], values[1], values[2]);
    h.addPoint(QStringLiteral("2"), values[3], values[4], values[5]);
    WriteXyzFile(h.context, file);

    GestionDonnee back;
    back.Settings.Separateur_Lec = QStringLiteral(";");
    back.Settings.Inc_Num = QStringLiteral("0");
    ReadXyzFile(back, file);
    QCOMPARE(back.PointCount, 2.0);
    for (int i = 0; i < 2; ++i) {
        const PointRecord& written = h.state.Points[i];
        const PointRecord& read = back.Points[i];
        QCOMPARE(read.Matricule, written.Matricule);
        // Exact equality: every value here survives its text.
        QVERIFY(read.X == written.X && read.Y == written.Y && read.Z == written.Z);
    }
}

TOVALIN_TEST(TestXyzWriter)
#include "tst_XyzWriter.moc"

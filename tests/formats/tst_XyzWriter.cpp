#include "Fixtures.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "formats/XyzWriter.h"

#include <QFileInfo>

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

void setExtCfg(MemorySettings& settings, const QString& value) {
    settings.setValue(QStringLiteral("App"), QStringLiteral("ExtCfg"), value);
}

QString errorBox(const char* number, const char* description) {
    return QStringLiteral("Erreur n° ") + QLatin1String(number) +
           QStringLiteral("\r\nDescription : ") + QString::fromUtf8(description);
}

struct XyzGolden {
    bool french;
    QString sep, dim, nbDec, file;
};

struct XyzLine {
    bool french;
    QString sep, other, dim, nbDec, extCfg; // extCfg null: not in the settings
    QString name;
    double x, y, z;
    QString expected;
};

struct XyzFailure {
    QString target; // relative names go into the fixture's folder
    QString extCfg;
    int count;
    int linesWritten; // -1: not checked
    QString box;      // empty: no error
    QString label;    // the last caption shown
};

} // namespace
Q_DECLARE_METATYPE(XyzGolden)
Q_DECLARE_METATYPE(XyzLine)
Q_DECLARE_METATYPE(XyzFailure)

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
};

void TestXyzWriter::goldenFiles_data() {
    Rows<XyzGolden> row;
    row("French ; 3D", {true, ";", "3D", "0.000", "writer-fr-3d.xyz"});
    row("English tab 2D", {false, "\t", "2D", "0.0", "writer-en-2d.xyz"});
}

void TestXyzWriter::goldenFiles() {
    QFETCH(XyzGolden, c);
    RegionalFormatScope scope(c.french ? frenchFormat() : englishFormat());
    CommandFixture f;
    setWriteSettings(f.state, c.sep, QString(), c.dim, c.nbDec);
    f.state.AddPoint({1000.5, 2000.25, 35.1, QStringLiteral("12")});
    // 1234567.8915 is just below .8915 as a double: rounded from 15 digits.
    f.state.AddPoint({-12.3456, -0.4, 1234567.8915, QStringLiteral("Bé-7")});
    f.state.AddPoint({0, 0, 0, QStringLiteral("€ 3")});
    const QString file = f.dir.filePath(QStringLiteral("out.xyz"));
    WriteXyzFile(f.context, file);

    QCOMPARE(readBytes(file), readBytes(dataFile(c.file)));
    QCOMPARE(f.window.labels, (QStringList{"Enregistrement XYZ : ", "Nombre de points : 3"}));
    QCOMPARE(f.progress.captions, 3);
    QCOMPARE(f.progress.last, QStringLiteral("Enregistrement XYZ : Point 3/3"));
    QVERIFY(f.boxes.boxes().empty());
}

void TestXyzWriter::lines_data() {
    Rows<XyzLine> row;
    // The decimal commas cannot be told from the separator: as users have it.
    row("comma separator",
        {true, ",", "", "3D", "0.000", {}, "P1", 1234.5, 10, 2, "P1,1234,500,10,000,2,000"});
    row("other separator",
        {true, ";", "|", "3D", "0.000", "0", "P1", 1234.5, 10, 2, "P1|1234,500|10,000|2,000"});
    row("2D keeps its point",
        {true, ";", "", "2D", "0.000", "0", "P1", 1234.5, 10, 2, "P1;1234,500;10,000;0.000"});
    row("never grouped", {false, ";", "", "3D", "0.00", "0", "P1", 1234567.891, -0.004, 2,
                          "P1;1234567.89;-0.00;2.00"});
    // Ticked, the default number text.
    row("ticked, French",
        {true, ";", "", "3D", "0.000", "1", "P1", 1234.5, 0.1 + 0.2, 1e20, "P1;1234,5;0,3;1E+20"});
    row("ticked, English",
        {false, ";", "", "2D", "0.000", "1", "P1", 1234.5, 1.5e-7, -2, "P1;1234.5;1.5E-07;0.000"});
    // Read as a number in the regional format, not compared as a text.
    row("ExtCfg 0,0", {true, ";", "", "3D", "0.0", "0,0", "P1", 1.25, 2, 3, "P1;1,3;2,0;3,0"});
    // Values only a settings file written by hand can hold: Fich_Dim is "2D"
    // exactly or Z is written; any ExtCfg other than 0 writes unformatted.
    for (const char* dim : {" 2D ", "2d", "", "2D3"})
        row((QByteArray("Fich_Dim \"") + dim + '"').constData(),
            {true, ";", "", dim, "0.000", "0", "P1", 1234.5, 10, 2, "P1;1234,500;10,000;2,000"});
    for (const char* extCfg : {"2", "-1", "0,5"})
        row((QByteArray("ExtCfg ") + extCfg).constData(),
            {true, ";", "", "3D", "0.000", extCfg, "P1", 1234.5, 0.1 + 0.2, 1e20,
             "P1;1234,5;0,3;1E+20"});
    row("empty NbDec", {true, ";", "", "3D", "", "0", "P1", 1.25, 2, 3, "P1;1,25;2;3"});
    row("identifier as is", {false, ",", "", "3D", "0", "0", "A,\"B\"", 1, 2, 3, "A,\"B\",1,2,3"});
}

void TestXyzWriter::lines() {
    QFETCH(XyzLine, c);
    RegionalFormatScope scope(c.french ? frenchFormat() : englishFormat());
    CommandFixture f;
    setWriteSettings(f.state, c.sep, c.other, c.dim, c.nbDec);
    if (!c.extCfg.isNull())
        setExtCfg(f.settings, c.extCfg);
    f.state.AddPoint({c.x, c.y, c.z, c.name});
    const QString file = f.dir.filePath(QStringLiteral("out.xyz"));
    WriteXyzFile(f.context, file);
    QCOMPARE(QString::fromLatin1(readBytes(file)), c.expected + QStringLiteral("\r\n"));
}

void TestXyzWriter::extCfgReadForEveryPoint() {
    RegionalFormatScope scope(frenchFormat());
    CommandFixture f;
    setWriteSettings(f.state, QStringLiteral(";"), QString(), QStringLiteral("3D"),
                     QStringLiteral("0.00"));
    for (int i = 1; i <= 3; ++i)
        f.state.AddPoint({0.125 * i, 1, 2, QStringLiteral("P%1").arg(i)});
    // The box gets ticked once the first line is written.
    f.settings.reads = 0;
    f.settings.onRead = [&f](int reads) {
        if (reads == 2)
            setExtCfg(f.settings, QStringLiteral("1"));
    };
    const QString file = f.dir.filePath(QStringLiteral("out.xyz"));
    WriteXyzFile(f.context, file);
    QCOMPARE(readBytes(file), QByteArray("P1;0,13;1,00;2,00\r\nP2;0,25;1;2\r\nP3;0,375;1;2\r\n"));
}

void TestXyzWriter::errorsReported_data() {
    Rows<XyzFailure> row;
    row("missing folder", {"/nonexistent-folder-for-tests/out.xyz", "0", 1, -1,
                           errorBox("76", "Chemin d'accès introuvable"), ""});
    // Buffered: the write fails when the file is closed.
    row("disk full", {"/dev/full", "0", 1, -1, errorBox("61", "Disque plein"),
                      "Enregistrement XYZ : Point 1/1"});
    // The file is already created when the setting turns out to be no number.
    row("ExtCfg no number",
        {"out.xyz", "oui", 1, 0, errorBox("13", "Incompatibilité de type"), ""});
    row("32,767 points", {"out.xyz", "0", 32767, 32767, "", "Nombre de points : 32767"});
    // The 16-bit counter steps past 32,767 after the last line.
    row("32,768 points", {"out.xyz", "0", 32768, 32768, errorBox("6", "Dépassement de capacité"),
                          "Enregistrement XYZ : Point 32768/32768"});
    // The bound itself overflows once the file is created.
    row("32,769 points", {"out.xyz", "0", 32769, 0, errorBox("6", "Dépassement de capacité"), ""});
}

void TestXyzWriter::errorsReported() {
    QFETCH(XyzFailure, c);
    RegionalFormatScope scope(frenchFormat());
    CommandFixture f;
    const QString file = c.target.startsWith(u'/') ? c.target : f.dir.filePath(c.target);
    setWriteSettings(f.state, QStringLiteral(","), QString(), QStringLiteral("3D"),
                     QStringLiteral("0"));
    setExtCfg(f.settings, c.extCfg);
    for (int i = 0; i < c.count; ++i)
        f.state.AddPoint({1, 2, 3, QStringLiteral("A")});
    if (!c.box.isEmpty())
        f.boxes.answerMessage(platform::MsgAnswer::Ok);

    WriteXyzFile(f.context, file);

    if (c.linesWritten >= 0) {
        QVERIFY(QFileInfo::exists(file));
        QCOMPARE(readBytes(file), QByteArray("A,1,2,3\r\n").repeated(c.linesWritten));
    }
    if (c.box.isEmpty()) {
        QVERIFY(f.boxes.boxes().empty());
        QCOMPARE(f.window.labels.last(), c.label);
        return;
    }
    QCOMPARE(shownBoxes(f.boxes),
             QStringList(QStringLiteral("Tovalin: ") + c.box + QStringLiteral(" [critical ok]")));
    // No closing caption: the label keeps the last progress text.
    QCOMPARE(f.window.labels, QStringList{"Enregistrement XYZ : "});
    QCOMPARE(f.progress.flushed, c.label);
}

TOVALIN_TEST(TestXyzWriter)
#include "tst_XyzWriter.moc"

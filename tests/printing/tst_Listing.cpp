#include "Fixtures.h"
#include "PrivateCups.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "platform/PdfTextDocument.h"
#include "platform/Printer.h"
#include "printing/Listing.h"

#include <QTemporaryFile>

using namespace testing;
using namespace platform;

namespace {

const QString errorBox = QStringLiteral(
    "Erreur: Une erreur est survenu lors de l'impression. Retenter une impression. [critical ok]");

// The lines of a PDF as poppler finds them, each page's lines after "--".
QStringList pagesOf(const QByteArray& pdf) {
    QTemporaryFile file;
    file.open();
    file.write(pdf);
    file.close();
    QStringList out;
    for (const QStringList& page : PdfPageLines(file.fileName()))
        out << QStringLiteral("--") << page;
    return out;
}

} // namespace

class tst_Listing : public QObject {
    Q_OBJECT
private slots:
    void header_data() {
        QTest::addColumn<QLocale>("format");
        QTest::addColumn<int>("major");
        QTest::addColumn<int>("minor");
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<QString>("file");
        QTest::addColumn<QStringList>("expected");
        const QDateTime monday(QDate(2026, 11, 23), QTime(7, 5));
        QTest::newRow("French names, hours and minutes on two digits")
            << frenchFormat() << 2 << 3 << monday << QStringLiteral("/data/lev\u00E9 1.xyz")
            << QStringList{QStringLiteral("Tovalin version 2.3"), QString(),
                           QStringLiteral("Imprimer le lundi 23 novembre 2026 \u00E0 07:05"),
                           QStringLiteral("Fichier : /data/lev\u00E9 1.xyz")};
        QTest::newRow("English names, 24-hour time, no file yet")
            << englishFormat() << 1 << 0 << QDateTime(QDate(2027, 2, 1), QTime(23, 59)) << QString()
            << QStringList{QStringLiteral("Tovalin version 1.0"), QString(),
                           QStringLiteral("Imprimer le Monday 01 February 2027 \u00E0 23:59"),
                           QStringLiteral("Fichier : ")};
        QTest::newRow("a two-digit minor version")
            << frenchFormat() << 10 << 12 << QDateTime(QDate(2026, 8, 1), QTime(12, 0))
            << QStringLiteral("a.xyz")
            << QStringList{QStringLiteral("Tovalin version 10.12"), QString(),
                           QStringLiteral("Imprimer le samedi 01 ao\u00FBt 2026 \u00E0 12:00"),
                           QStringLiteral("Fichier : a.xyz")};
    }
    void header() {
        QFETCH(QLocale, format);
        QFETCH(int, major);
        QFETCH(int, minor);
        QFETCH(QDateTime, now);
        QFETCH(QString, file);
        QFETCH(QStringList, expected);
        RegionalFormatScope scope(format);
        QCOMPARE(ListingHeader({major, minor, 7}, now, file), expected);
    }

    // The version printed is the project's.
    void versionOfTheProject() {
        const QStringList header =
            ListingHeader(programVersion(), QDateTime::currentDateTime(), {});
        const QStringList parts = QStringLiteral(TOVALIN_VERSION_TEXT).split(u'.');
        QCOMPARE(header.first(), QStringLiteral("Tovalin version ") + parts[0] + u'.' + parts[1]);
    }

    void pointLines_data() {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<int>("grouping");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("the default three decimals")
            << QStringLiteral("0.000") << 0
            << QStringList{
                   QStringLiteral("Matricule : 12     X : 1000,5     Y : 2000,125     Z : -3"),
                   QStringLiteral("Matricule : B7     X : 0,123     Y : 123456,789     Z : 0,000")};
        QTest::newRow("two decimals print as two decimals")
            << QStringLiteral("0.00") << 0
            << QStringList{
                   QStringLiteral("Matricule : 12     X : 1000,50     Y : 2000,13     Z : -3,00"),
                   QStringLiteral("Matricule : B7     X : 0,12     Y : 123456,79     Z : 0,00")};
        QTest::newRow("thousands separators as the list shows them")
            << QStringLiteral("0.0") << 1
            << QStringList{QStringLiteral("Matricule : 12     X : 1\u202F000,5     Y : "
                                          "2\u202F000,1     Z : -3,0"),
                           QStringLiteral("Matricule : B7     X : 0,1     Y : "
                                          "123\u202F456,8     Z : 0,0")};
    }
    // Each point line is the grid's row as the grid shows it, not the store:
    // the first row's X was patched in the grid only.
    void pointLines() {
        QFETCH(QString, pattern);
        QFETCH(int, grouping);
        QFETCH(QStringList, expected);
        RegionalFormatScope scope(frenchFormat());
        CommandFixture f;
        f.state.Settings.NbDec = pattern;
        f.state.Settings.SepSys = int16_t(grouping);
        f.state.AddPoint({1000.5, 2000.125, -3, QStringLiteral("12")});
        f.state.AddPoint({0.123, 123456.789, 0, QStringLiteral("B7")});
        f.state.RefreshPointList();
        if (pattern == QStringLiteral("0.000")) {
            f.state.Grid.setTextMatrix(1, 1, QStringLiteral("1000,5"));
            f.state.Grid.setTextMatrix(1, 3, QStringLiteral("-3"));
        }
        ScriptedPrinter printer;
        QVERIFY(PrintPointList(f.state, printer, f.boxes, f.progress,
                               QDateTime(QDate(2026, 11, 23), QTime(9, 30))));
        QCOMPARE(printer.ended.size(), std::size_t(1));
        const QStringList lines = printer.ended.front();
        QCOMPARE(lines.size(), 4 + expected.size());
        QCOMPARE(lines.mid(4), expected);
        QCOMPARE(lines[2], QStringLiteral("Imprimer le lundi 23 novembre 2026 \u00E0 09:30"));
        QCOMPARE(printer.killed, 0);
        QVERIFY(f.boxes.boxes().empty());
        // The progress counted every point line.
        QVERIFY(f.progress.history.contains(QStringLiteral("Impression en cours... 2/2 points")));
    }

    void failures_data() {
        QTest::addColumn<int>("failAtLine");
        QTest::addColumn<bool>("failAtEnd");
        QTest::newRow("on the first header line (no printer, printer off line)") << 1 << false;
        QTest::newRow("on a point line") << 6 << false;
        QTest::newRow("when the document is handed over") << 0 << true;
    }
    // Any error: the document is cancelled, the message shown, nothing sent,
    // and the next try prints whole.
    void failures() {
        QFETCH(int, failAtLine);
        QFETCH(bool, failAtEnd);
        RegionalFormatScope scope(frenchFormat());
        CommandFixture f;
        for (int i = 0; i < 3; ++i)
            f.state.AddPoint({double(i), 0, 0, QStringLiteral("P")});
        f.state.RefreshPointList();
        ScriptedPrinter printer;
        printer.failAtLine = failAtLine;
        printer.failAtEnd = failAtEnd;
        f.boxes.answerMessage(MsgAnswer::Ok);
        QVERIFY(!PrintPointList(f.state, printer, f.boxes, f.progress));
        QCOMPARE(shownBoxes(f.boxes), QStringList{errorBox});
        QCOMPARE(printer.killed, 1);
        QVERIFY(printer.ended.empty());
        QVERIFY(printer.pending.isEmpty());

        printer.failAtLine = 0;
        printer.failAtEnd = false;
        QVERIFY(PrintPointList(f.state, printer, f.boxes, f.progress));
        QCOMPARE(printer.ended.size(), std::size_t(1));
        QCOMPARE(printer.ended.front().size(), 7);
    }

    // The page builder read back by poppler: every line once, in order, a new
    // page when the page is full, the characters that mean something in a
    // PDF string printed as themselves.
    void pdfPages_data() {
        QTest::addColumn<int>("count");
        QTest::addColumn<QStringList>("extra");
        QTest::addColumn<int>("pages");
        // 100 points of paper, 10 of margin, 12 of leading: 6 lines a page.
        QTest::newRow("no line: one blank page") << 0 << QStringList() << 1;
        QTest::newRow("a page exactly full") << 6 << QStringList() << 1;
        QTest::newRow("one line more starts a page") << 7 << QStringList() << 2;
        QTest::newRow("brackets, backslash, accents, euro, grouping, runs of blanks")
            << 1
            << QStringList{QStringLiteral("(a) \\b\\ c)"), QStringLiteral("\u00E9t\u00E9 \u20AC 5"),
                           QStringLiteral("1\u202F234,5"), QStringLiteral("  X :     1     Z")}
            << 1;
        QTest::newRow("many pages") << 61 << QStringList() << 11;
    }
    void pdfPages() {
        QFETCH(int, count);
        QFETCH(QStringList, extra);
        QFETCH(int, pages);
        TextPageGeometry geometry;
        geometry.width = 400;
        geometry.height = 100;
        geometry.margin = 10;
        geometry.fontSize = 8;
        geometry.leading = 12;
        PdfTextDocument document(geometry);
        QCOMPARE(document.linesPerPage(), 6);
        QStringList lines;
        for (int i = 1; i <= count; ++i)
            lines << QStringLiteral("Ligne ") + QString::fromLatin1(QByteArray::number(i));
        lines << extra;
        for (const QString& line : lines)
            document.addLine(line);
        QCOMPARE(document.pageCount(), int((lines.size() + 5) / 6));
        const QStringList read = pagesOf(document.finish());
        QStringList expected;
        for (int i = 0; i < lines.size(); ++i) {
            if (i % 6 == 0)
                expected << QStringLiteral("--");
            QString shown = lines[i];
            // The grouping character goes to paper as a (no-break) space.
            shown.replace(QChar(0x202F), QChar(u' '));
            expected << shown;
        }
        if (lines.isEmpty())
            expected << QStringLiteral("--");
        QCOMPARE(read.count(QStringLiteral("--")), pages);
        QCOMPARE(read, expected);
    }
};

TOVALIN_TEST(tst_Listing)
#include "tst_Listing.moc"

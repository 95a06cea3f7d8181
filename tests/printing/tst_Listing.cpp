#include "Fixtures.h"
#include "PrivateCups.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "platform/PdfTextDocument.h"
#include "platform/Printer.h"
#include "printing/Listing.h"

using namespace testing;
using namespace platform;

namespace {

const QString errorBox = QStringLiteral(
    "Erreur: Une erreur est survenu lors de l'impression. Retenter une impression. [critical ok]");

// The printer fails at a line (1-based, 0 for never) or when the document is
// handed over; the date line as the regional format of the printing has it.
struct Print {
    QLocale format;
    QDateTime now;
    int failAtLine;
    bool failAtEnd;
    QString dateLine;
};

struct Pages {
    int count;         // lines "Ligne 1" to "Ligne <count>"
    QStringList extra; // then these
};

} // namespace
Q_DECLARE_METATYPE(Print)
Q_DECLARE_METATYPE(Pages)

class tst_Listing : public QObject {
    Q_OBJECT
private slots:
    void print_data() {
        Rows<Print> row;
        // Names in the regional format's language, hours and minutes on two
        // digits, 24-hour time.
        const QDateTime monday(QDate(2026, 11, 23), QTime(7, 5));
        const QString french = QStringLiteral("Imprimer le lundi 23 novembre 2026 \u00E0 07:05");
        row("printed", {frenchFormat(), monday, 0, false, french});
        row("English names", {englishFormat(), QDateTime(QDate(2027, 2, 1), QTime(23, 59)), 0,
                              false, "Imprimer le Monday 01 February 2027 \u00E0 23:59"});
        // Any error: the document cancelled, the message shown, nothing sent;
        // the next try prints whole. (A header line failing: the dialog's table.)
        row("fails on a point line", {frenchFormat(), monday, 6, false, french});
        row("fails when handed over", {frenchFormat(), monday, 0, true, french});
    }
    // Each point line is the grid's row as the grid shows it, not the store:
    // the first row's X and Z are patched in the grid only.
    void print() {
        QFETCH(Print, c);
        RegionalFormatScope scope(frenchFormat());
        CommandFixture f;
        f.state.CurrentFileName = QStringLiteral("/data/lev\u00E9 1.xyz");
        f.state.AddPoint({1000.5, 2000.125, -3, QStringLiteral("12")});
        f.state.AddPoint({0.123, 123456.789, 0, QStringLiteral("B7")});
        f.state.RefreshPointList();
        f.state.Grid.setTextMatrix(1, 1, QStringLiteral("1000,5"));
        f.state.Grid.setTextMatrix(1, 3, QStringLiteral("-3"));
        RegionalFormatScope printing(c.format);
        ScriptedPrinter printer;
        if (c.failAtLine > 0 || c.failAtEnd) {
            printer.failAtLine = c.failAtLine;
            printer.failAtEnd = c.failAtEnd;
            f.boxes.answerMessage(MsgAnswer::Ok);
            QVERIFY(!PrintPointList(f.state, printer, f.boxes, f.progress, c.now));
            QCOMPARE(shownBoxes(f.boxes), QStringList{errorBox});
            QCOMPARE(printer.killed, 1);
            QVERIFY(printer.ended.empty() && printer.pending.isEmpty());
            printer.failAtLine = 0;
            printer.failAtEnd = false;
            printer.killed = 0;
        }
        QVERIFY(PrintPointList(f.state, printer, f.boxes, f.progress, c.now));
        QCOMPARE(printer.ended.size(), std::size_t(1));
        // The version printed is the project's, major.minor, each number whole.
        const QStringList version = QStringLiteral(TOVALIN_VERSION_TEXT).split(u'.');
        QCOMPARE(printer.ended.front(),
                 QStringList({"Tovalin version " + version[0] + u'.' + version[1], "", c.dateLine,
                              "Fichier : /data/lev\u00E9 1.xyz",
                              "Matricule : 12     X : 1000,5     Y : 2000,125     Z : -3",
                              "Matricule : B7     X : 0,123     Y : 123456,789     Z : 0,000"}));
        QCOMPARE(ListingHeader({10, 12, 7}, c.now, {}).first(), "Tovalin version 10.12");
        QCOMPARE(printer.killed, 0);
        QCOMPARE(f.boxes.boxes().size(), std::size_t(c.failAtLine > 0 || c.failAtEnd));
        // The progress counted every point line.
        QVERIFY(f.progress.history.contains(QStringLiteral("Impression en cours... 2/2 points")));
    }

    // The page builder read back by poppler: every line once, in order, a new
    // page when the page is full, the characters that mean something in a
    // PDF string printed as themselves.
    void pdfPages_data() {
        Rows<Pages> row;
        // 100 points of paper, 10 of margin, 12 of leading: 6 lines a page.
        row("no line: one blank page", {0, {}});
        row("a page exactly full", {6, {}});
        row("one line more starts a page", {7, {}});
        row("brackets, backslash, accents, euro, grouping, runs of blanks",
            {1, {"(a) \\b\\ c)", "\u00E9t\u00E9 \u20AC 5", "1\u202F234,5", "  X :     1     Z"}});
        row("many pages", {61, {}});
    }
    void pdfPages() {
        QFETCH(Pages, c);
        TextPageGeometry geometry;
        geometry.width = 400;
        geometry.height = 100;
        geometry.margin = 10;
        geometry.fontSize = 8;
        geometry.leading = 12;
        PdfTextDocument document(geometry);
        QCOMPARE(document.linesPerPage(), 6);
        QStringList lines;
        for (int i = 1; i <= c.count; ++i)
            lines << QStringLiteral("Ligne ") + QString::fromLatin1(QByteArray::number(i));
        lines << c.extra;
        for (const QString& line : lines)
            document.addLine(line);
        // Courier 8 points: 4.8 points a character.
        const std::vector<QStringList> pages = PdfPages(document.finish(), 4.8);
        QCOMPARE(document.pageCount(), int(pages.size()));
        QStringList read;
        for (const QStringList& page : pages)
            read << page.join(u'\n');
        // Six lines a page; the grouping character goes to paper as a
        // (no-break) space.
        QStringList expected;
        for (int i = 0; i < lines.size(); i += 6)
            expected << lines.mid(i, 6).join(u'\n').replace(QChar(0x202F), QChar(u' '));
        if (expected.isEmpty())
            expected << QString(); // one blank page
        QCOMPARE(read, expected);
    }
};

TOVALIN_TEST(tst_Listing)
#include "tst_Listing.moc"

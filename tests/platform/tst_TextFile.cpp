#include "Fixtures.h"
#include "RuntimeErrors.h"
#include "TestRunner.h"
#include "TestSupport.h"

#include "platform/TextFile.h"

#include <QTemporaryDir>
#include <QTest>

using namespace platform;
using namespace testing;

namespace {

// Text and bytes that go both ways, or only from text to bytes.
struct CodePage {
    QByteArray bytes;
    QString text;
    bool decodes = true;
};

// An opening that fails; "<dir>" is the test folder itself. (The tests run
// as root, whom permissions do not stop: error 70 cannot be met here.)
struct OpenError {
    QString name;
    bool writing;
    int error;
};

struct Lines {
    QByteArray bytes;
    QStringList lines;
};

// Expected fields, a number written "#" and its default text under the
// French format: it compares equal to that text.
struct Fields {
    QByteArray bytes;
    QStringList fields;
};

} // namespace
Q_DECLARE_METATYPE(CodePage)
Q_DECLARE_METATYPE(OpenError)
Q_DECLARE_METATYPE(Lines)
Q_DECLARE_METATYPE(Fields)

class TestTextFile : public QObject {
    Q_OBJECT

private slots:
    void init() { QVERIFY(dir_.isValid()); }

    void codePage_data() {
        Rows<CodePage> row;
        row("high controls", {"\x8a\x8c\x99\x9f", "\u0160\u0152\u2122\u0178"});
        row("undefined bytes", {"\x81\x8d\x8f\x90\x9d", "\u0081\u008d\u008f\u0090\u009d"});
        row("nul and 26", {QByteArray("a\0\x1a", 3), QStringView(u"a\u0000\u001a", 3).toString()});
        // Characters the code page lacks are one '?' each.
        row("other C1 control", {"a??b", "a\u0080\u0095b", false});
        row("outside the code page", {"x??", "x\u0100\u6f22", false});
        row("surrogate pair", {"a?b", "a\U0001F600b", false});
        row("pair at the end", {"?", "\U0001F600", false});
        row("lone surrogates", {"?x?", QStringView(u"\xd800x\xdc00").toString(), false});
    }

    void codePage() {
        QFETCH(CodePage, c);
        if (c.decodes)
            QCOMPARE(DecodeCp1252(c.bytes), c.text);
        QCOMPARE(EncodeCp1252(c.text), c.bytes);
    }

    void lineSplitting_data() {
        Rows<Lines> row;
        row("CR LF", {"a\r\nb\r\n", {"a", "b"}});
        row("lone CR", {"a\rb\r", {"a", "b"}});
        row("lone LF stays", {"a\nb\r\nc\n", {"a\nb", "c\n"}});
        row("LF CR", {"a\n\rb", {"a\n", "b"}});
        row("CR CR LF", {"a\r\r\nb", {"a", "", "b"}});
        row("last line without break", {"a\r\nb", {"a", "b"}});
        row("empty file", {"", {}});
        row("only a break", {"\r\n", {""}});
        row("blank lines", {"\r\n\r\nx", {"", "", "x"}});
        row("byte 26 is ordinary", {"a\x1a\r\n\x1a", {"a\x1a", "\x1a"}});
        row("code page", {"\x80\xe9\r\n", {"€é"}});
        row("lines longer than blocks", {"abcdefghij\r\nk\rlmnopqrstuvwxyz\n0123\r\n",
                                         {"abcdefghij", "k", "lmnopqrstuvwxyz\n0123"}});
    }

    void lineSplitting() {
        QFETCH(Lines, c);
        writeBytes(path("lines.txt"), c.bytes);
        LineReader reader(path("lines.txt"));
        QStringList read;
        while (!reader.atEnd())
            read << reader.readLine();
        QCOMPARE(read, c.lines);
        QCOMPARE(errorOf([&] { reader.readLine(); }), 62);

        // Read a block at a time, the file gives the same lines: no block ends
        // inside a line or between a CR and its LF.
        for (const int blockBytes : {1, 2, 3, 5, 8, 4096}) {
            BlockReader blocks(path("lines.txt"), blockBytes);
            QStringList fromBlocks;
            QByteArray joined;
            for (QByteArrayView block = blocks.next(); !block.isEmpty(); block = blocks.next()) {
                writeBytes(path("block.txt"), block.toByteArray());
                LineReader blockLines(path("block.txt"));
                while (!blockLines.atEnd())
                    fromBlocks << blockLines.readLine();
                joined += block;
            }
            QVERIFY(blocks.next().isEmpty());
            QCOMPARE(joined, c.bytes);
            QCOMPARE(fromBlocks, c.lines);
        }
    }

    void writer() {
        // Every byte is one character and back; through the files every byte but
        // CR stays inside its line.
        QByteArray bytes;
        for (int i = 0; i < 256; ++i)
            bytes.append(char(i));
        QCOMPARE(EncodeCp1252(DecodeCp1252(bytes)), bytes);
        bytes.remove(13, 1);
        writeBytes(path("out.txt"), "old content that must go");
        LineWriter writer(path("out.txt"));
        writer.writeLine(u"a\tb");
        writer.writeLine(u"");
        writer.writeBytes("raw\r\n");
        writer.writeLine(QStringLiteral("€ \u6f22"));
        writer.writeLine(DecodeCp1252(bytes));
        QByteArray expected = "a\tb\r\n\r\nraw\r\n\x80 ?\r\n" + bytes + "\r\n";
        // Then several buffer blocks, lines straddling the block boundaries.
        for (int i = 0; i < 120000; ++i) {
            writer.writeLine(QStringLiteral("%1;é;xxxxxxxxxxxxxxxxxxxx").arg(i));
            expected += QByteArray::number(i) + ";\xe9;xxxxxxxxxxxxxxxxxxxx\r\n";
        }
        writer.close();
        QCOMPARE(errorOf([&] { writer.writeLine(u"y"); }), 52);
        QCOMPARE(readBytes(path("out.txt")), expected);
    }

    // A block filled up while writing fails there, not at the end; pending
    // output that cannot be written must not escape the destructor.
    void openErrors_data() {
        Rows<OpenError> row;
        row("read: missing file", {"missing.txt", false, 53});
        row("read: missing folder", {"nofolder/missing.txt", false, 76});
        row("read: through a file", {"plain.txt/x.txt", false, 76});
        row("read: empty name", {"", false, 75});
        row("read: a folder", {"<dir>", false, 75});
        row("write: a folder", {"<dir>", true, 75});
    }

    void openErrors() {
        QFETCH(OpenError, c);
        writeBytes(path("plain.txt"), "x");
        QString name = c.name.isEmpty()     ? QString()
                       : c.name == u"<dir>" ? dir_.path()
                                            : path(c.name);
        if (c.writing) {
            QCOMPARE(errorOf([&] { LineWriter writer(name); }), c.error);
        } else {
            QCOMPARE(errorOf([&] { LineReader reader(name); }), c.error);
            QCOMPARE(errorOf([&] { FieldReader reader(name); }), c.error);
            QCOMPARE(errorOf([&] { BlockReader reader(name, 4096); }), c.error);
        }
    }

    void fields_data() {
        Rows<Fields> row;
        row("blanks", {" \t a b  , c \r\n", {"a b", "c"}});
        row("quoted keeps commas and line ends", {"\"a, b\r\nc\",d", {"a, b\r\nc", "d"}});
        row("rest after the quote dropped",
            {"  \"ab\" cd,e\r\n\"x\"y\r\nz", {"ab", "e", "x", "z"}});
        row("unclosed quote runs to the end", {"\"ab,c\r\nd", {"ab,c\r\nd"}});
        row("quoted number stays text", {"\"10\"", {"10"}});
        row("empty quoted", {"\"\",x", {"", "x"}});
        row("line end after comma is a field", {"a,\r\nb", {"a", "", "b"}});
        row("comma then line end at the end", {"a,\n", {"a", ""}});
        row("comma at the very end", {"a,", {"a"}});
        row("two commas", {"a,,b", {"a", "", "b"}});
        row("empty line", {"a\r\n\r\nb", {"a", "", "b"}});
        row("blanks at the end", {"a\r\n  ", {"a", ""}});
        row("byte 26 and code page", {"a\x1a,\x80", {"a\x1a", "€"}});
        row("numbers", {"10.0,+10,-2.5e3,1E+2, 7 \r\n0\r\n1.5",
                        {"#10", "#10", "#-2500", "#100", "#7", "#0", "#1,5"}});
        row("almost numbers", {"10.,.5,1e,1e+,0x1,1.2.3,12a,- 1,1 2",
                               {"10.", ".5", "1e", "1e+", "0x1", "1.2.3", "12a", "- 1", "1 2"}});
    }

    void fields() {
        QFETCH(Fields, c);
        RegionalFormatScope french(frenchFormat());
        writeBytes(path("fields.txt"), c.bytes);
        // The file streams through the reader's buffer: a field, a quote or a
        // CR LF cut by the buffer's end must read as a whole one.
        for (const qsizetype chunk :
             {qsizetype(1), qsizetype(2), qsizetype(3), qsizetype(5), FieldReader::kChunkBytes}) {
            const QByteArray where = "buffer of " + QByteArray::number(chunk) + ", field ";
            FieldReader reader(path("fields.txt"), chunk);
            for (int i = 0; i < c.fields.size(); ++i) {
                QVERIFY2(!reader.atEnd(), where + QByteArray::number(i) + ": ended before it");
                const Field field = reader.readField();
                const bool number = c.fields[i].startsWith(u'#');
                QVERIFY2(field.isNumber() == number &&
                             field == QStringView(c.fields[i]).mid(number ? 1 : 0),
                         where + QByteArray::number(i) + ": " + field.text().toUtf8());
            }
            QVERIFY2(reader.atEnd(), where);
            QCOMPARE(errorOf([&] { reader.readField(); }), 62);
        }
    }

private:
    QString path(const QString& name) const { return dir_.filePath(name); }
    QTemporaryDir dir_;
};

TOVALIN_TEST(TestTextFile)
#include "tst_TextFile.moc"

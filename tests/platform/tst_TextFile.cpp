#include "TestRunner.h"
#include "TestSupport.h"

#include "platform/RuntimeError.h"
#include "platform/TextFile.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

using namespace platform;

namespace {

template <typename F> int errorOf(F&& call) {
    try {
        call();
    } catch (const RuntimeError& error) {
        return error.number();
    }
    return 0;
}

QByteArray allBytes() {
    QByteArray bytes;
    for (int i = 0; i < 256; ++i)
        bytes.append(char(i));
    return bytes;
}

} // namespace

class TestTextFile : public QObject {
    Q_OBJECT

private slots:
    void init() { QVERIFY(dir_.isValid()); }

    void decoding_data();
    void decoding();
    void encoding_data();
    void encoding();
    void allBytesRoundTrip();

    void lineSplitting_data();
    void lineSplitting();
    void readPastEndIsError62();

    void writerEndsLinesWithCrLf();
    void writerFlushesLargeOutput();
    void writeAfterCloseIsError();
    void diskFullIsError61();

    void openErrors_data();
    void openErrors();
    void permissionDeniedIsError70();

    void fields_data();
    void fields();
    void numberFieldComparesAsItsDefaultText();

private:
    QString path(const QString& name) const { return dir_.filePath(name); }
    QTemporaryDir dir_;
};

void TestTextFile::decoding_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("ascii") << QByteArray("Az09 ,;") << QStringLiteral("Az09 ,;");
    QTest::newRow("euro") << QByteArray("\x80") << QStringLiteral("€");
    QTest::newRow("high controls")
        << QByteArray("\x8a\x8c\x99\x9f") << QStringLiteral("\u0160\u0152\u2122\u0178");
    QTest::newRow("undefined bytes")
        << QByteArray("\x81\x8d\x8f\x90\x9d") << QStringLiteral("\u0081\u008d\u008f\u0090\u009d");
    QTest::newRow("latin-1 part") << QByteArray("\xa0\xe9\xff") << QStringLiteral("\u00a0éÿ");
    QTest::newRow("nul and 26") << QByteArray("a\0\x1a", 3)
                                << QStringView(u"a\u0000\u001a", 3).toString();
}

void TestTextFile::decoding() {
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    QCOMPARE(DecodeCp1252(bytes), text);
}

void TestTextFile::encoding_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("euro") << QStringLiteral("1 €") << QByteArray("1 \x80");
    QTest::newRow("accents") << QStringLiteral("éÈœŸ") << QByteArray("\xe9\xc8\x9c\x9f");
    QTest::newRow("undefined bytes back")
        << QStringLiteral("\u0081\u009d") << QByteArray("\x81\x9d");
    QTest::newRow("other C1 control") << QStringLiteral("a\u0080\u0095b") << QByteArray("a??b");
    QTest::newRow("outside the code page") << QStringLiteral("x\u0100\u6f22") << QByteArray("x??");
    QTest::newRow("surrogate pair is one character")
        << QStringLiteral("a\U0001F600b") << QByteArray("a?b");
    QTest::newRow("lone surrogates")
        << QStringView(u"\xd800x\xdc00").toString() << QByteArray("?x?");
    QTest::newRow("pair at the end") << QStringLiteral("\U0001F600") << QByteArray("?");
}

void TestTextFile::encoding() {
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    QCOMPARE(EncodeCp1252(text), bytes);
}

void TestTextFile::allBytesRoundTrip() {
    const QByteArray bytes = allBytes();
    const QString text = DecodeCp1252(bytes);
    QCOMPARE(text.size(), 256);
    QCOMPARE(EncodeCp1252(text), bytes);

    // Through the files: every byte but CR stays inside a line.
    QByteArray noCr = bytes;
    noCr.remove(13, 1);
    const QString line = DecodeCp1252(noCr);
    {
        LineWriter writer(path("all.txt"));
        writer.writeLine(line);
        writer.writeLine(line);
    }
    QCOMPARE(testing::readBytes(path("all.txt")), noCr + "\r\n" + noCr + "\r\n");
    LineReader reader(path("all.txt"));
    QCOMPARE(reader.readLine(), line);
    QCOMPARE(reader.readLine(), line);
    QVERIFY(reader.atEnd());
}

void TestTextFile::lineSplitting_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("lines");
    QTest::newRow("CR LF") << QByteArray("a\r\nb\r\n") << QStringList{"a", "b"};
    QTest::newRow("lone CR") << QByteArray("a\rb\r") << QStringList{"a", "b"};
    QTest::newRow("lone LF stays") << QByteArray("a\nb\r\nc\n") << QStringList{"a\nb", "c\n"};
    QTest::newRow("LF CR") << QByteArray("a\n\rb") << QStringList{"a\n", "b"};
    QTest::newRow("CR CR LF") << QByteArray("a\r\r\nb") << QStringList{"a", "", "b"};
    QTest::newRow("last line without break") << QByteArray("a\r\nb") << QStringList{"a", "b"};
    QTest::newRow("empty file") << QByteArray() << QStringList{};
    QTest::newRow("only a break") << QByteArray("\r\n") << QStringList{""};
    QTest::newRow("blank lines") << QByteArray("\r\n\r\nx") << QStringList{"", "", "x"};
    QTest::newRow("byte 26 is ordinary")
        << QByteArray("a\x1a\r\n\x1a") << QStringList{"a\x1a", "\x1a"};
    QTest::newRow("code page") << QByteArray("\x80\xe9\r\n") << QStringList{"€é"};
    QTest::newRow("lines longer than blocks")
        << QByteArray("abcdefghij\r\nk\rlmnopqrstuvwxyz\n0123\r\n")
        << QStringList{"abcdefghij", "k", "lmnopqrstuvwxyz\n0123"};
}

void TestTextFile::lineSplitting() {
    QFETCH(QByteArray, bytes);
    QFETCH(QStringList, lines);
    testing::writeBytes(path("lines.txt"), bytes);
    LineReader reader(path("lines.txt"));
    QCOMPARE(reader.size(), bytes.size());
    QStringList read;
    while (!reader.atEnd())
        read << reader.readLine();
    QCOMPARE(read, lines);
    QCOMPARE(reader.position(), bytes.size());

    // Read a block at a time, the file gives the same lines: no block ends
    // inside a line or between a CR and its LF.
    for (const int blockBytes : {1, 2, 3, 5, 8, 4096}) {
        BlockReader blocks(path("lines.txt"), blockBytes);
        QCOMPARE(blocks.sizeHint(), bytes.size());
        QStringList fromBlocks;
        QByteArray joined;
        QByteArrayView previous;
        QByteArray previousBytes;
        for (QByteArrayView block = blocks.next(); !block.isEmpty(); block = blocks.next()) {
            // The block before stays as it was while this one was read.
            QCOMPARE(previous, QByteArrayView(previousBytes));
            testing::writeBytes(path("block.txt"), block.toByteArray());
            LineReader blockLines(path("block.txt"));
            while (!blockLines.atEnd())
                fromBlocks << blockLines.readLine();
            joined += block;
            previous = block;
            previousBytes = block.toByteArray();
        }
        QVERIFY(blocks.next().isEmpty());
        QCOMPARE(joined, bytes);
        QCOMPARE(fromBlocks, lines);
    }
}

void TestTextFile::readPastEndIsError62() {
    testing::writeBytes(path("one.txt"), "x\r\n");
    LineReader reader(path("one.txt"));
    QCOMPARE(reader.readLine(), QStringLiteral("x"));
    QCOMPARE(errorOf([&] { reader.readLine(); }), 62);

    testing::writeBytes(path("empty.txt"), QByteArray());
    LineReader empty(path("empty.txt"));
    QVERIFY(empty.atEnd());
    QCOMPARE(errorOf([&] { empty.readLine(); }), 62);
}

void TestTextFile::writerEndsLinesWithCrLf() {
    testing::writeBytes(path("out.txt"), "old content that must go");
    LineWriter writer(path("out.txt"));
    writer.writeLine(u"a\tb");
    writer.writeLine(u"");
    writer.writeLine(QStringLiteral("€ \u6f22"));
    writer.close();
    QCOMPARE(testing::readBytes(path("out.txt")), QByteArray("a\tb\r\n\r\n\x80 ?\r\n"));
}

void TestTextFile::writerFlushesLargeOutput() {
    // Several buffer blocks, with lines straddling the block boundaries.
    const int count = 120000;
    const QString pad(20, QLatin1Char('x'));
    {
        LineWriter writer(path("big.txt"));
        for (int i = 0; i < count; ++i)
            writer.writeLine(QStringLiteral("%1;é;%2").arg(i).arg(pad));
    }
    LineReader reader(path("big.txt"));
    QVERIFY(reader.size() > 2 * 1024 * 1024);
    int n = 0;
    while (!reader.atEnd()) {
        const QString line = reader.readLine();
        if (line != QStringLiteral("%1;é;%2").arg(n).arg(pad))
            QFAIL(qPrintable(QStringLiteral("line %1 reads %2").arg(n).arg(line)));
        ++n;
    }
    QCOMPARE(n, count);
}

void TestTextFile::writeAfterCloseIsError() {
    LineWriter writer(path("closed.txt"));
    writer.writeLine(u"x");
    writer.close();
    QCOMPARE(errorOf([&] { writer.writeLine(u"y"); }), 52);
    QCOMPARE(testing::readBytes(path("closed.txt")), QByteArray("x\r\n"));
}

void TestTextFile::diskFullIsError61() {
    if (!QFileInfo::exists(QStringLiteral("/dev/full")))
        QSKIP("no /dev/full here");
    {
        LineWriter writer(QStringLiteral("/dev/full"));
        writer.writeLine(u"short");
        QCOMPARE(errorOf([&] { writer.close(); }), 61);
    }
    {
        // A block filled up while writing fails there, not later.
        LineWriter writer(QStringLiteral("/dev/full"));
        const QString line(1000, QLatin1Char('x'));
        const int error = errorOf([&] {
            for (int i = 0; i < 2000; ++i)
                writer.writeLine(line);
        });
        QCOMPARE(error, 61);
    }
    // Pending output that cannot be written must not escape the destructor.
    auto* writer = new LineWriter(QStringLiteral("/dev/full"));
    writer->writeLine(u"pending");
    delete writer;
}

void TestTextFile::openErrors_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("writing");
    QTest::addColumn<int>("error");
    // Names relative to the test folder; "<dir>" is the folder itself.
    QTest::newRow("read: missing file") << "missing.txt" << false << 53;
    QTest::newRow("read: missing folder") << "nofolder/missing.txt" << false << 76;
    QTest::newRow("read: through a file") << "plain.txt/x.txt" << false << 76;
    QTest::newRow("read: empty name") << "" << false << 75;
    QTest::newRow("read: a folder") << "<dir>" << false << 75;
    QTest::newRow("write: missing folder") << "nofolder/new.txt" << true << 76;
    QTest::newRow("write: through a file") << "plain.txt/x.txt" << true << 76;
    QTest::newRow("write: empty name") << "" << true << 75;
    QTest::newRow("write: a folder") << "<dir>" << true << 75;
}

void TestTextFile::openErrors() {
    QFETCH(QString, name);
    QFETCH(bool, writing);
    QFETCH(int, error);
    testing::writeBytes(path("plain.txt"), "x");
    const QString fileName = name.isEmpty()                   ? QString()
                             : name == QLatin1String("<dir>") ? dir_.path()
                                                              : path(name);
    if (writing) {
        QCOMPARE(errorOf([&] { LineWriter writer(fileName); }), error);
    } else {
        QCOMPARE(errorOf([&] { LineReader reader(fileName); }), error);
        QCOMPARE(errorOf([&] { FieldReader reader(fileName); }), error);
        QCOMPARE(errorOf([&] { BlockReader reader(fileName, 4096); }), error);
    }
}

void TestTextFile::permissionDeniedIsError70() {
    const QString name = path("locked.txt");
    testing::writeBytes(name, "x");
    QFile::setPermissions(name, QFileDevice::Permissions());
    QFile probe(name);
    if (probe.open(QIODevice::ReadOnly))
        QSKIP("permissions are not enforced for this user");
    QCOMPARE(errorOf([&] { LineReader reader(name); }), 70);
    QCOMPARE(errorOf([&] { LineWriter writer(name); }), 70);
}

void TestTextFile::fields_data() {
    // Expected fields: a QString for a text, a double for a number.
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QVariantList>("fields");
    const auto t = [](const char* text) { return QVariant(QString::fromUtf8(text)); };
    const auto n = [](double value) { return QVariant(value); };

    QTest::newRow("commas and CR LF")
        << QByteArray("a,b\r\nc") << QVariantList{t("a"), t("b"), t("c")};
    QTest::newRow("LF and lone CR")
        << QByteArray("a\nb\rc\n") << QVariantList{t("a"), t("b"), t("c")};
    QTest::newRow("blanks") << QByteArray(" \t a b  , c \r\n") << QVariantList{t("a b"), t("c")};
    QTest::newRow("quoted keeps commas and line ends")
        << QByteArray("\"a, b\r\nc\",d") << QVariantList{t("a, b\r\nc"), t("d")};
    QTest::newRow("rest after the quote dropped") << QByteArray("  \"ab\" cd,e\r\n\"x\"y\r\nz")
                                                  << QVariantList{t("ab"), t("e"), t("x"), t("z")};
    QTest::newRow("unclosed quote runs to the end")
        << QByteArray("\"ab,c\r\nd") << QVariantList{t("ab,c\r\nd")};
    QTest::newRow("quoted number stays text") << QByteArray("\"10\"") << QVariantList{t("10")};
    QTest::newRow("empty quoted") << QByteArray("\"\",x") << QVariantList{t(""), t("x")};
    QTest::newRow("line end after comma is an empty field")
        << QByteArray("a,\r\nb") << QVariantList{t("a"), t(""), t("b")};
    QTest::newRow("comma then line end at the end")
        << QByteArray("a,\n") << QVariantList{t("a"), t("")};
    QTest::newRow("comma at the very end") << QByteArray("a,") << QVariantList{t("a")};
    QTest::newRow("two commas") << QByteArray("a,,b") << QVariantList{t("a"), t(""), t("b")};
    QTest::newRow("empty line") << QByteArray("a\r\n\r\nb") << QVariantList{t("a"), t(""), t("b")};
    QTest::newRow("blanks at the end") << QByteArray("a\r\n  ") << QVariantList{t("a"), t("")};
    QTest::newRow("byte 26 and code page")
        << QByteArray("a\x1a,\x80") << QVariantList{t("a\x1a"), t("€")};
    QTest::newRow("numbers") << QByteArray("10.0,+10,-2.5e3,1E+2, 7 \r\n0\r\n")
                             << QVariantList{n(10), n(10), n(-2500), n(100), n(7), n(0)};
    QTest::newRow("almost numbers")
        << QByteArray("10.,.5,1e,1e+,0x1,1.2.3,12a,- 1,1 2")
        << QVariantList{t("10."),   t(".5"),  t("1e"),  t("1e+"), t("0x1"),
                        t("1.2.3"), t("12a"), t("- 1"), t("1 2")};
    QTest::newRow("beyond the double range")
        << QByteArray("1e999,-1e400") << QVariantList{t("1e999"), t("-1e400")};
}

void TestTextFile::fields() {
    QFETCH(QByteArray, bytes);
    QFETCH(QVariantList, fields);
    testing::writeBytes(path("fields.txt"), bytes);
    FieldReader reader(path("fields.txt"));
    for (int i = 0; i < fields.size(); ++i) {
        QVERIFY2(!reader.atEnd(), qPrintable(QStringLiteral("ended before field %1").arg(i)));
        const Field field = reader.readField();
        const QVariant& expected = fields.at(i);
        if (expected.typeId() == QMetaType::Double) {
            QVERIFY2(field.isNumber(), qPrintable(field.text()));
            QCOMPARE(field.number(), expected.toDouble());
        } else {
            QVERIFY2(!field.isNumber(), qPrintable(field.text()));
            QCOMPARE(field.text(), expected.toString());
        }
    }
    QVERIFY(reader.atEnd());
    QCOMPARE(errorOf([&] { reader.readField(); }), 62);
}

void TestTextFile::numberFieldComparesAsItsDefaultText() {
    testing::writeBytes(path("n.txt"), "10.0,1.5");
    testing::RegionalFormatScope french(testing::frenchFormat());
    FieldReader reader(path("n.txt"));
    const Field ten = reader.readField();
    QVERIFY(ten == u"10");
    QVERIFY(!(ten == u"10.0"));
    QCOMPARE(reader.readField().text(), QStringLiteral("1,5"));
}

TOVALIN_TEST(TestTextFile)
#include "tst_TextFile.moc"

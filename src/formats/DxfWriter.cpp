#include "formats/DxfWriter.h"

#include "formats/DecimalComma.h"
#include "platform/Dialogs.h"
#include "platform/NumberText.h"
#include "platform/Parallel.h"
#include "platform/Progress.h"
#include "platform/TextFile.h"
#include "platform/TextUtil.h"
#include "state/CommandContext.h"
#include "state/GestionDonnee.h"

#include <QByteArray>
#include <cmath>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

using namespace platform;

namespace {

const QString kCaption = QStringLiteral("Enregistrement DXF : ");
const QString kPointCaption = QStringLiteral("Enregistrement DXF : Point ");
const QString kThreeDecimals = QStringLiteral("0.000");

// The texts of one point as the file carries them.
struct PointTexts {
    QString sX, sY, sZ; // the coordinates, three decimals, "." as decimal point
    QString tX, tY2;    // the anchors of the texts
};

// Coordinate text for the file: rounded first by the display pattern, then
// written with three decimals and "." whatever the regional format.
QString fileCoordinate(const QString& displayed) {
    QString text = Format(displayed, kThreeDecimals);
    text = CommaToPoint(TrimSpaces(text));
    // A second pass has always been made; it finds no comma left to change.
    return CommaToPoint(TrimSpaces(text));
}

// The anchors are read with Val, which knows only "." as decimal point: under
// a comma regional format the fraction is lost and the texts are placed from
// the whole unit. Files have always been written so; kept on purpose.
double anchorOf(const QString& displayed) {
    return CDbl(Format(Val(displayed), kThreeDecimals));
}

PointTexts pointTexts(const PointRecord& point, const QString& nbDec, double height) {
    const QString x = Format(point.X, nbDec);
    const QString y = Format(point.Y, nbDec);
    const QString z = Format(point.Z, nbDec);
    const double aX = anchorOf(x);
    const double aY = anchorOf(y);

    PointTexts texts;
    texts.sX = fileCoordinate(x);
    texts.sY = fileCoordinate(y);
    texts.sZ = fileCoordinate(z);

    texts.tX = Format(aX + 0.75 * height, kThreeDecimals);
    texts.tY2 = Format(aY - (height + 0.75 * height), kThreeDecimals);
    // The second anchor is converted only when the first had a comma.
    if (texts.tX.contains(u',')) {
        texts.tX = CommaToPoint(texts.tX);
        texts.tY2 = CommaToPoint(texts.tY2);
    }
    return texts;
}

// ---------------------------------------------------------------------------
// The same texts without a QString, for the usual settings and values.

// A number as a pattern wrote it: its sign and digits.
struct Written {
    bool negative;
    std::uint64_t whole;
    std::uint64_t fraction;
};

// The display pattern when it is plain digits ("0", "0.0" ... "0.000000", as
// the format dialog offers them): one integer digit at least, decimals all
// written, nothing else. Its texts are then read back from their digits,
// which is what CDbl and Val give: the decimal the text shows, correctly
// rounded, as one exact division does for up to 15 digits and 22 decimals.
struct PlainPattern {
    int decimals = 0;

    static std::optional<PlainPattern> of(QStringView pattern) {
        const qsizetype point = pattern.indexOf(u'.');
        const QStringView whole = point < 0 ? pattern : pattern.first(point);
        const QStringView decimals = point < 0 ? QStringView() : pattern.sliced(point + 1);
        auto zeros = [](QStringView text) {
            for (QChar c : text) {
                if (c != u'0')
                    return false;
            }
            return true;
        };
        if (whole.isEmpty() || !zeros(whole) || !zeros(decimals) || decimals.size() > 15)
            return std::nullopt;
        return PlainPattern{int(decimals.size())};
    }
};

// Scales display decimals (at most three) up to three.
constexpr std::uint64_t kDecimalScale[4] = {1ULL, 10ULL, 100ULL, 1000ULL};
// Whole parts from here on would take the digits past 15.
constexpr std::uint64_t kWholeLimit = 1000000000000ULL;

// The lines of the file, built as bytes in a block.
class LineBlock {
public:
    std::string bytes;

    // Bytes as they stand: line breaks are the caller's.
    void raw(std::string_view ascii) { bytes.append(ascii); }
    void line(std::string_view ascii) {
        bytes.append(ascii);
        bytes.append("\r\n", 2);
    }
    void textLine(QStringView text) {
        const std::size_t used = bytes.size();
        bytes.resize(used + std::size_t(text.size()));
        bytes.resize(used + std::size_t(EncodeCp1252(text, bytes.data() + used)));
        bytes.append("\r\n", 2);
    }
    // The default text of a handle: its digits, as for every whole number
    // below 10^15.
    void wholeLine(std::uint64_t value) {
        char digits[20];
        bytes.append(digits, std::size_t(WriteWholeNumber(value, digits)));
        bytes.append("\r\n", 2);
    }
    QByteArrayView view() const { return QByteArrayView(bytes.data(), qsizetype(bytes.size())); }
};

// What every point's entities share.
struct EntitySettings {
    QByteArray pointLayer, nameLayer, heightLayer, reply; // Windows-1252
    bool flat = false;
    QByteArray flatElevation;
    double height = 0;
    QString nbDec;
    NumberFormat format;
};

// The lines that never change between the variable ones, joined, so that a
// point costs a few dozen appends rather than a hundred.
struct EntityRuns {
    std::string pointStart, afterHandle1, afterX, afterY, afterZ;
    std::string textStart, afterHandle2, afterTX, afterSY, afterReply;
    std::string heightStart, afterHandle3, afterZText, afterTX2;

    explicit EntityRuns(const EntitySettings& settings) {
        auto bytes = [](const QByteArray& text) {
            return std::string(text.constData(), std::size_t(text.size()));
        };
        pointStart = "0\r\nPOINT\r\n5\r\n";
        afterHandle1 = "8\r\n" + bytes(settings.pointLayer) + "\r\n62\r\n7\r\n10\r\n";
        afterX = "\r\n20\r\n";
        afterY = "\r\n30\r\n";
        afterZ = "\r\n";
        textStart = "0\r\nTEXT\r\n5\r\n";
        afterHandle2 = "8\r\n" + bytes(settings.nameLayer) + "\r\n62\r\n5\r\n10\r\n";
        afterTX = "\r\n20\r\n";
        afterSY = "\r\n40\r\n" + bytes(settings.reply) + "\r\n1\r\n"; // as typed, "1,5" included
        heightStart = "0\r\nTEXT\r\n5\r\n";
        afterHandle3 = "8\r\n" + bytes(settings.heightLayer) + "\r\n62\r\n1\r\n40\r\n" +
                       bytes(settings.reply) + "\r\n41\r\n0.75\r\n51\r\n10\r\n1\r\n";
        afterZText = "\r\n10\r\n";
        afterTX2 = "\r\n20\r\n";
    }
};

// Appends the three entities of a point (handles from 800 + 3 index).
class EntityWriter {
public:
    explicit EntityWriter(const EntitySettings& settings)
        : settings_(settings), runs_(settings), display_(settings.nbDec, settings.format),
          threeDecimals_(kThreeDecimals, settings.format), plain_(PlainPattern::of(settings.nbDec)),
          quick_(plain_ && plain_->decimals <= 3 && threeDecimals_.writesAscii() &&
                 (settings.format.decimal == u'.' || settings.format.decimal == u',')) {}

    void write(LineBlock& out, const PointRecord& point, double index) {
        Texts texts;
        if (!quickTexts(point, texts))
            slowTexts(point, texts);
        // Handles are whole numbers far below 10^15.
        const auto handle = static_cast<std::uint64_t>(800 + 3 * index);
        const std::string_view sZ =
            settings_.flat ? std::string_view(settings_.flatElevation.constData(),
                                              std::size_t(settings_.flatElevation.size()))
                           : texts.sZ.view();
        out.raw(runs_.pointStart);
        out.wholeLine(handle);
        out.raw(runs_.afterHandle1);
        out.raw(texts.sX.view());
        out.raw(runs_.afterX);
        out.raw(texts.sY.view());
        out.raw(runs_.afterY);
        out.raw(sZ);
        out.raw(runs_.afterZ);

        out.raw(runs_.textStart);
        out.wholeLine(handle + 1);
        out.raw(runs_.afterHandle2);
        out.raw(texts.tX.view());
        out.raw(runs_.afterTX);
        out.raw(texts.sY.view());
        out.raw(runs_.afterSY);
        out.textLine(QStringView(point.Matricule));

        out.raw(runs_.heightStart);
        out.wholeLine(handle + 2);
        out.raw(runs_.afterHandle3);
        out.raw(sZ);
        out.raw(runs_.afterZText);
        out.raw(texts.tX.view());
        out.raw(runs_.afterTX2);
        out.line(texts.tY2.view());
    }

private:
    // One of the five texts as Windows-1252 bytes.
    struct Text {
        char bytes[NumberPattern::kUtf8Room];
        int length = 0;
        QByteArray slow; // when it came the long way

        std::string_view view() const {
            return slow.isNull() ? std::string_view(bytes, std::size_t(length))
                                 : std::string_view(slow.constData(), std::size_t(slow.size()));
        }
    };
    struct Texts {
        Text sX, sY, sZ, tX, tY2;
    };

    void slowTexts(const PointRecord& point, Texts& texts) {
        const PointTexts slow = pointTexts(point, settings_.nbDec, settings_.height);
        texts.sX.slow = EncodeCp1252(slow.sX);
        texts.sY.slow = EncodeCp1252(slow.sY);
        texts.sZ.slow = EncodeCp1252(slow.sZ);
        texts.tX.slow = EncodeCp1252(slow.tX);
        texts.tY2.slow = EncodeCp1252(slow.tY2);
    }

    // pointTexts worked out from the digits the display pattern writes, for
    // a plain display pattern of at most three decimals, a regional decimal
    // character "," or ".", and values of at most 15 digits. The display
    // texts are never needed as texts, only read back:
    // - fileCoordinate reads the display text in the regional format, which
    //   gives the double nearest its decimal, and writes it with three
    //   decimals: the same digits (a double keeps 15 of them), zero padded,
    //   "-" only when not zero; its comma made a point;
    // - anchorOf reads it with Val, which stops at a comma but not at a
    //   point, writes that with three decimals and reads it back in the
    //   regional format: the whole part, or the same decimal, with "-" only
    //   when not zero.
    // False (nothing decided) where a value falls outside this.
    bool quickTexts(const PointRecord& point, Texts& texts) {
        if (!quick_)
            return false;
        Written x, y, z;
        if (!display(point.X, x) || !display(point.Y, y) ||
            (!settings_.flat && !display(point.Z, z)))
            return false;
        writeCoordinate(x, texts.sX);
        writeCoordinate(y, texts.sY);
        if (!settings_.flat)
            writeCoordinate(z, texts.sZ);
        const double aX = anchor(x);
        const double aY = anchor(y);
        return anchorTexts(aX + 0.75 * settings_.height,
                           aY - (settings_.height + 0.75 * settings_.height), texts);
    }

    // The display digits scaled to three decimals, or false when they are
    // more than 15.
    bool display(double value, Written& written) const {
        written.negative = value < 0;
        if (!display_.fixedParts(value, written.whole, written.fraction))
            return false;
        const int scale = 3 - plain_->decimals;
        if (written.whole >= kWholeLimit)
            return false;
        written.fraction *= kDecimalScale[scale];
        return true;
    }

    // "-" only when not zero, at least one whole digit, three decimals, a point.
    void writeCoordinate(const Written& value, Text& text) const {
        text.length = fileCoordinate_.writeUtf8Parts(value.negative &&
                                                         (value.whole != 0 || value.fraction != 0),
                                                     value.whole, value.fraction, text.bytes);
    }

    double anchor(const Written& value) const {
        if (settings_.format.decimal == u'.') {
            const double magnitude = double(value.whole * 1000 + value.fraction) / 1000.0;
            return value.negative && (value.whole != 0 || value.fraction != 0) ? -magnitude
                                                                               : magnitude;
        }
        const double whole = double(value.whole);
        return value.negative && value.whole != 0 ? -whole : whole;
    }

    // Format(value, "0.000") as ASCII bytes.
    bool threeDecimals(double value, Text& text) const {
        text.length = threeDecimals_.writeUtf8(value, text.bytes);
        return text.length >= 0;
    }

    static bool firstCommaToPoint(Text& text) {
        for (int i = 0; i < text.length; ++i) {
            if (text.bytes[i] == ',') {
                text.bytes[i] = '.';
                return true;
            }
        }
        return false;
    }

    bool anchorTexts(double tX, double tY2, Texts& texts) const {
        if (!threeDecimals(tX, texts.tX) || !threeDecimals(tY2, texts.tY2))
            return false;
        // The second anchor is converted only when the first had a comma.
        if (firstCommaToPoint(texts.tX))
            firstCommaToPoint(texts.tY2);
        return true;
    }

    const EntitySettings& settings_;
    EntityRuns runs_;
    NumberPattern display_;
    NumberPattern threeDecimals_;
    NumberPattern fileCoordinate_{u"0.000", NumberFormat{QChar(u'.'), QChar(u',')}};
    std::optional<PlainPattern> plain_;
    bool quick_;
};

// Points put into text side by side, a block at a time, then written in order.
constexpr std::size_t kBlockPoints = 1 << 14;

} // namespace

double DxfTextHeight(const QString& reply) {
    return CDbl(PointToComma(reply));
}

void WriteDxfFile(CommandContext& context, const QString& path) {
    const GestionDonnee& state = context.state;
    const InMemorySettings& settings = state.Settings;

    const QString reply =
        context.input.ask(QStringLiteral("Entrez la taille de la police\rExemple : 1"),
                          QStringLiteral("Taille de la police"), QStringLiteral("1"));
    // A reply that is no number is a type mismatch that nothing here traps.
    const double height = DxfTextHeight(reply);
    if (height == 0)
        return;

    context.window.setWaitCursor(true);
    // Errors from here on are not trapped either: the hourglass is still up
    // when they are reported.
    try {
        LineWriter file(path);
        LineBlock header;
        header.line("0");
        header.line("SECTION");
        header.line("2");
        header.line("ENTITIES");
        file.writeBytes(header.view());
        context.window.setCountLabel(kCaption);

        // Both flavours (Dxf_Format) get the same file; the layers are the
        // in-memory settings, possibly empty.
        EntitySettings entities;
        entities.pointLayer = EncodeCp1252(settings.Calque_Point.toText());
        entities.nameLayer = EncodeCp1252(settings.Calque_Matricule.toText());
        entities.heightLayer =
            EncodeCp1252(settings.Calque_Z.toText().isEmpty() ? QStringLiteral("2")
                                                              : settings.Calque_Z.toText());
        entities.reply = EncodeCp1252(reply);
        entities.flat = TrimSpaces(settings.Fich_Dim.toText()) == u"2D";
        // The flat elevation is the number 0 printed, blanks included.
        entities.flatElevation = EncodeCp1252(NumericPrint(0));
        entities.height = height;
        entities.nbDec = settings.NbDec;
        entities.format = NumberFormat::current();
        const QString total = QLatin1Char('/') + DefaultText(state.PointCount);

        // The points 0 to PointCount - 1, as a loop over a double counts them.
        const std::size_t count =
            state.PointCount - 1 >= 0
                ? static_cast<std::size_t>(std::floor(state.PointCount - 1)) + 1
                : 0;

        struct Part {
            LineBlock text;
            std::vector<std::size_t> ends; // where each point's entities end
            std::exception_ptr error;      // the point after the last one done failed
        };
        std::vector<Part> parts(PartsFor(std::min(count, kBlockPoints), 2048));
        for (std::size_t first = 0; first < count; first += kBlockPoints) {
            const std::size_t blockCount = std::min(kBlockPoints, count - first);
            ForEachPart(blockCount, parts.size(),
                        [&](std::size_t part, std::size_t begin, std::size_t end) {
                            Part& out = parts[part];
                            out.text.bytes.clear();
                            out.ends.clear();
                            out.error = nullptr;
                            EntityWriter writer(entities);
                            try {
                                for (std::size_t i = first + begin; i < first + end; ++i) {
                                    writer.write(out.text, state.Points[i], double(i));
                                    out.ends.push_back(out.text.bytes.size());
                                }
                            } catch (...) {
                                out.error = std::current_exception();
                            }
                        });
            // In order: each point's lines, then its caption; a point that
            // failed stops the file after the points before it.
            std::size_t index = first;
            for (Part& part : parts) {
                std::size_t written = 0;
                for (std::size_t end : part.ends) {
                    file.writeBytes(
                        QByteArrayView(part.text.bytes.data() + written, qsizetype(end - written)));
                    written = end;
                    context.progress.setCountCaption(kPointCaption, double(index) + 1, total);
                    ++index;
                }
                if (part.error)
                    std::rethrow_exception(part.error);
            }
        }

        LineBlock footer;
        footer.line("0");
        footer.line("ENDSEC");
        footer.line("0");
        footer.line("EOF");
        // The end-of-file mark of old text files, on a line of its own.
        footer.line("\x1A");
        file.writeBytes(footer.view());
        file.close();
    } catch (...) {
        // Show the last progress caption while the error is reported.
        context.progress.flush();
        throw;
    }

    context.window.setWaitCursor(false);
    context.window.setCountLabel(GestionDonnee::PointCountLabel(state.PointCount));
}

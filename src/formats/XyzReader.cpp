#include "formats/XyzReader.h"
#include "formats/DecimalComma.h"

#include "platform/NumberText.h"
#include "platform/Parallel.h"
#include "platform/Progress.h"
#include "platform/RuntimeError.h"
#include "platform/TextArena.h"
#include "platform/TextFile.h"
#include "platform/TextUtil.h"
#include "state/GestionDonnee.h"

#include <QVarLengthArray>
#include <algorithm>
#include <cstring>
#include <exception>

using namespace platform;

namespace {

// The scan's positions and counters are 16-bit: any value past 32,767 is an
// overflow, which rejects the line. This is what limits a line's length.
int checked16(qsizetype value) {
    if (value > 32767 || value < -32768)
        throw RuntimeError(RuntimeError::Overflow);
    return static_cast<int>(value);
}

// The character at 1-based position pos as a text ("" past the end), so that
// it compares with the separator as a whole text, whatever its length.
QStringView charAt(const QString& text, int pos) {
    if (pos < 1 || pos > text.size())
        return QStringView();
    return QStringView(text).mid(pos - 1, 1);
}

// 1-based position of sep in text from start, 0 when absent.
int findFrom(const QString& text, int start, const QString& sep) {
    if (start > text.size())
        return 0;
    if (sep.isEmpty())
        return start;
    const qsizetype found = text.indexOf(sep, start - 1);
    return found < 0 ? 0 : checked16(found + 1);
}

// The text from position a to position b (both included), blanks trimmed. A
// negative length or a start before the first character is an error, as is
// cutting a field that the line does not have.
QString cut(const QString& text, int a, int b) {
    const int length = b - a + 1;
    if (a < 1 || length < 0)
        throw RuntimeError(RuntimeError::InvalidCall);
    if (a > text.size())
        return QString();
    return TrimSpaces(QStringView(text).mid(a - 1, length)).toString();
}

QString cutToEnd(const QString& text, int a) {
    if (a < 1)
        throw RuntimeError(RuntimeError::InvalidCall);
    if (a > text.size())
        return QString();
    return TrimSpaces(QStringView(text).mid(a - 1)).toString();
}

// Runs of separators reduced to one, by the scan the files have always been
// read with: after a run, the characters up to the run's old end are skipped,
// so a second run starting there stays as it is.
void reduceSeparatorRuns(QString& line, const QString& sep) {
    const int length = checked16(line.size());
    for (int j = 1; j <= length; j = checked16(j + 1)) {
        if (charAt(line, j) != sep)
            continue;
        int m = j + 1;
        while (m <= line.size() && charAt(line, m) == sep)
            ++m;
        line.remove(j, m - 1 - j);
        j = checked16(m);
    }
}

struct FieldPositions {
    int p[4] = {1, 0, 0, 0};
};

// Where the separators stand. The character right after each separator is
// never searched; a fourth separator is a subscript error.
FieldPositions findSeparators(const QString& line, const QString& sep) {
    FieldPositions positions;
    int n = 0;
    const int length = checked16(line.size());
    for (int j = 1; j <= length; j = checked16(j + 1)) {
        const int p = findFrom(line, j, sep);
        if (p == 0) {
            // No separator from j on means none from any later j either: go
            // straight to where the loop would end.
            j = checked16(length);
            continue;
        }
        ++n;
        if (n > 3)
            throw RuntimeError(RuntimeError::SubscriptOutOfRange);
        positions.p[n] = p;
        j = checked16(p + 1);
    }
    return positions;
}

void parseLine(GestionDonnee& state, QString line) {
    const InMemorySettings& settings = state.Settings;
    const QString sep = settings.Separateur_Autre_Lec.toText().isEmpty()
                            ? settings.Separateur_Lec.toText()
                            : settings.Separateur_Autre_Lec.toText();
    const QString incNum = settings.Inc_Num.toText();

    if (incNum == u"1") {
        // The list is not refreshed while a file is read, so this gives the
        // same answer for every line of a file: read into an empty list,
        // every point gets the first number. Kept as users know it.
        if (state.Grid.rows() == 1)
            state.CurrentMatricule = settings.Num_Premier_Pt;
        else
            state.CurrentMatricule = state.CurrentMatricule.plus(1);
    }

    reduceSeparatorRuns(line, sep);
    const FieldPositions pos = findSeparators(line, sep);
    const int p1 = pos.p[1], p2 = pos.p[2], p3 = pos.p[3];

    QString x, y, z;
    if (incNum == u"1") {
        x = CommaToPoint(cut(line, 1, p1 - 1));
        if (p2 != 0) {
            y = CommaToPoint(cut(line, p1 + 1, p2 - 1));
            z = CommaToPoint(cutToEnd(line, p2 + 1));
        } else {
            y = CommaToPoint(cutToEnd(line, p1 + 1));
            z = QStringLiteral("0");
        }
    } else if (incNum == u"0") {
        // The identifier is taken before the coordinates are cut, so a line
        // rejected below still leaves it behind.
        state.CurrentMatricule = cut(line, 1, p1 - 1);
        x = CommaToPoint(cut(line, p1 + 1, p2 - 1));
        if (p3 != 0) {
            y = CommaToPoint(cut(line, p2 + 1, p3 - 1));
            z = CommaToPoint(cutToEnd(line, p3 + 1));
        } else {
            y = CommaToPoint(cutToEnd(line, p2 + 1));
            z = QStringLiteral("0");
        }
    }
    // Any other Inc_Num takes no field at all: the point is all zeros.

    PointRecord record;
    record.Matricule = state.CurrentMatricule.toText();
    record.X = Val(x);
    record.Y = Val(y);
    record.Z = Val(z);
    state.AddPoint(record);
}

// ---------------------------------------------------------------------------
// Reading straight from the file's bytes

// Longer lines go the long way: near 32,767 characters the scan's counters
// overflow, which only parseLine reproduces.
constexpr qsizetype kShortLine = 30000;

// The settings parseLine reads for every line, taken once for the file: no
// command can change them while a file is read.
struct LinePlan {
    enum class Numbering { FirstField, Automatic, Other } numbering = Numbering::Other;
    int separator = -1;  // its byte, or -1 when not a single Windows-1252 character
    NumberFormat format; // for the numbers given as identifiers
};

LinePlan planFor(const InMemorySettings& settings) {
    LinePlan plan{LinePlan::Numbering::Other, -1, NumberFormat::current()};
    const QString sep = settings.Separateur_Autre_Lec.toText().isEmpty()
                            ? settings.Separateur_Lec.toText()
                            : settings.Separateur_Autre_Lec.toText();
    if (sep.size() == 1) {
        const QByteArray byte = EncodeCp1252(sep);
        if (byte.size() == 1 && DecodeCp1252Byte(byte[0]) == sep[0])
            plan.separator = static_cast<unsigned char>(byte[0]);
    }
    const QString incNum = settings.Inc_Num.toText();
    if (incNum == u"0")
        plan.numbering = LinePlan::Numbering::FirstField;
    else if (incNum == u"1")
        plan.numbering = LinePlan::Numbering::Automatic;
    return plan;
}

QByteArrayView trimBlanks(QByteArrayView text) {
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && text[begin] == ' ')
        ++begin;
    while (end > begin && text[end - 1] == ' ')
        --end;
    return text.sliced(begin, end - begin);
}

// Val(CommaToPoint(field)) on the field's bytes. Bytes map one to one to
// characters and only ASCII ones count in a number, so the bytes read as the
// decoded text would.
double fieldValue(QByteArrayView field) {
    field = trimBlanks(field);
    const void* comma = std::memchr(field.data(), ',', std::size_t(field.size()));
    if (comma == nullptr)
        return Val(QLatin1StringView(field.data(), field.size()));
    QVarLengthArray<char, 64> text(field.size());
    std::memcpy(text.data(), field.data(), std::size_t(field.size()));
    text[static_cast<const char*>(comma) - field.data()] = '.';
    return Val(QLatin1StringView(text.data(), text.size()));
}

QString identifierOf(TextArena& texts, QByteArrayView field) {
    field = trimBlanks(field);
    return texts.make(field.size(), [&](QChar* where) { DecodeCp1252(field, where); });
}

// What the reading of one line needs from the file, worked out away from the
// store (on any thread): the numbers and, numbered by the first field, the
// identifier, as the point they make.
struct ParsedLine {
    enum class Kind : std::uint8_t {
        General,  // not a common line: parseLine reads it
        Point,    // the numbers were read
        Overflow, // a number overflowed: the line is rejected once its
                  // identifier or numbering is taken
    };
    Kind kind = Kind::General;
    QByteArrayView line;
    PointRecord point; // Matricule: the identifier, numbered by the first field
};

// The common line: a single-byte separator that never stands next to itself,
// at most three of them, a short line. For such a line the run reduction
// changes nothing and the separator search finds every separator, so its
// fields are the texts between them and parseLine's result follows from
// them without a QString per field. Any other line, and any line parseLine
// rejects before it takes a field, is left to parseLine.
void parseCommonLine(ParsedLine& parsed, const LinePlan& plan, TextArena& texts) {
    const QByteArrayView line = parsed.line;
    parsed.kind = ParsedLine::Kind::General;
    if (plan.separator < 0 || plan.numbering == LinePlan::Numbering::Other ||
        line.size() > kShortLine)
        return;
    const char sep = static_cast<char>(plan.separator);
    qsizetype at[3];
    int count = 0;
    const char* data = line.data();
    const qsizetype n = line.size();
    for (const char* p = data;
         (p = static_cast<const char*>(std::memchr(p, sep, std::size_t(data + n - p)))) != nullptr;
         ++p) {
        if (count == 3 || (p + 1 < data + n && p[1] == sep))
            return;
        at[count++] = p - data;
    }
    auto between = [&](qsizetype from, qsizetype to) { return line.sliced(from, to - from); };

    PointRecord& point = parsed.point;
    if (plan.numbering == LinePlan::Numbering::FirstField) {
        if (count < 2)
            return;
        point.Matricule = identifierOf(texts, between(0, at[0]));
        try {
            point.X = fieldValue(between(at[0] + 1, at[1]));
            if (count == 3) {
                point.Y = fieldValue(between(at[1] + 1, at[2]));
                point.Z = fieldValue(line.sliced(at[2] + 1));
            } else {
                point.Y = fieldValue(line.sliced(at[1] + 1));
                point.Z = 0;
            }
        } catch (const RuntimeError&) {
            parsed.kind = ParsedLine::Kind::Overflow;
            return;
        }
    } else {
        if (count < 1)
            return;
        try {
            point.X = fieldValue(between(0, at[0]));
            if (count >= 2) {
                point.Y = fieldValue(between(at[0] + 1, at[1]));
                // The rest of the line, third separator included.
                point.Z = fieldValue(line.sliced(at[1] + 1));
            } else {
                point.Y = fieldValue(line.sliced(at[0] + 1));
                point.Z = 0;
            }
        } catch (const RuntimeError&) {
            parsed.kind = ParsedLine::Kind::Overflow;
            return;
        }
    }
    parsed.kind = ParsedLine::Kind::Point;
}

// Takes one parsed line into the store, in the order parseLine works: the
// numbering first, then (unless a number overflowed) the point.
void applyLine(GestionDonnee& state, ParsedLine& parsed, const LinePlan& plan, TextArena& texts) {
    if (parsed.kind == ParsedLine::Kind::General) {
        ReadXyzLine(state, DecodeCp1252(parsed.line));
        return;
    }
    PointRecord& point = parsed.point;
    if (plan.numbering == LinePlan::Numbering::FirstField) {
        // Taken before the coordinates, so a line whose number overflows
        // still leaves it behind.
        state.CurrentMatricule = point.Matricule;
        if (parsed.kind == ParsedLine::Kind::Overflow)
            return;
    } else {
        try {
            if (state.Grid.rows() == 1)
                state.CurrentMatricule = state.Settings.Num_Premier_Pt;
            else
                state.CurrentMatricule = state.CurrentMatricule.plus(1);
        } catch (const RuntimeError&) {
            return; // rejected
        }
        if (parsed.kind == ParsedLine::Kind::Overflow)
            return;
        if (state.CurrentMatricule.isNumber()) {
            TextBuffer text;
            AppendDefaultText(text, state.CurrentMatricule.toNumber(), plan.format);
            point.Matricule = texts.copy(QStringView(text.constData(), text.size()));
        } else {
            point.Matricule = state.CurrentMatricule.toText();
        }
    }
    state.AddPoint(std::move(point));
}

// Where the line after the one that position is in starts: past its CR and
// the LF that may follow it, or the end.
qsizetype nextLineStart(QByteArrayView bytes, qsizetype position) {
    if (position >= bytes.size())
        return bytes.size();
    const void* cr =
        std::memchr(bytes.data() + position, '\r', std::size_t(bytes.size() - position));
    if (cr == nullptr)
        return bytes.size();
    qsizetype next = static_cast<const char*>(cr) - bytes.data() + 1;
    if (next < bytes.size() && bytes[next] == '\n')
        ++next;
    return next;
}

// The lines of bytes[begin, end), which starts and ends where lines do,
// exactly as LineReader gives them.
template <typename Take>
void forEachLine(QByteArrayView bytes, qsizetype begin, qsizetype end, Take&& take) {
    while (begin < end) {
        const qsizetype lineEnd = std::min(nextLineStart(bytes, begin), end);
        qsizetype length = lineEnd - begin;
        // Without the line break, which is a CR, or a CR and a LF.
        if (length > 0 && bytes[begin + length - 1] == '\n' && length > 1 &&
            bytes[begin + length - 2] == '\r')
            length -= 2;
        else if (length > 0 && bytes[begin + length - 1] == '\r')
            length -= 1;
        take(bytes.sliced(begin, length));
        begin = lineEnd;
    }
}

// The file is read a block of lines at a time, its lines shared out between
// the cores, then taken into the store in order: a block is short enough for
// the progress to be told often, and for the buffers to stay few.
constexpr qsizetype kBlockBytes = 2 << 20;
constexpr qsizetype kLongestLineKept = 65536;

} // namespace

void ReadXyzLine(GestionDonnee& state, const QString& line) {
    try {
        parseLine(state, line);
    } catch (const RuntimeError&) {
        // A bad line leaves no trace: no point, no message.
    }
}

void ReadXyzFile(GestionDonnee& state, const QString& fileName) {
    NoProgress none;
    ReadXyzFile(state, fileName, none);
}

void ReadXyzFile(GestionDonnee& state, const QString& fileName, Progress& progress) {
    // A line past 32,767 characters overflows the scan's counters whatever
    // it holds, so the reader needs no more of a line than a little beyond.
    BlockReader file(fileName, kBlockBytes, kLongestLineKept);
    const LinePlan plan = planFor(state.Settings);
    const std::size_t cores = PartsFor(std::size_t(kBlockBytes), 1);
    PerPart<TextArena> texts(cores + 1); // one per part, the last for the numbering
    PerPart<std::vector<ParsedLine>> parsed(cores);
    std::vector<qsizetype> starts(cores + 1);

    QByteArrayView block = file.next();
    if (!block.isEmpty()) {
        // Room for as many points as the file has lines if they are like the
        // first block's (a line ends at each CR), so that the store is seldom
        // copied while it grows.
        const auto lines = double(std::count(block.begin(), block.end(), '\r')) + 1;
        state.ReservePoints(
            std::size_t(lines * double(std::max<qint64>(file.sizeHint(), block.size())) /
                        double(block.size()) * 1.0625));
    }
    while (!block.isEmpty()) {
        // The block cut where lines start, one piece per part.
        const std::size_t parts = PartsFor(std::size_t(block.size()), std::size_t(kBlockBytes) / 4);
        for (std::size_t part = 0; part <= parts; ++part) {
            const qsizetype guess = block.size() * qsizetype(part) / qsizetype(parts);
            starts[part] = part == 0 ? 0
                           : part == parts
                               ? block.size()
                               : std::max(starts[part - 1], nextLineStart(block, guess - 1));
        }
        // The next block is read meanwhile. A read error comes after the
        // lines already read, as reading line by line would give it.
        QByteArrayView following;
        std::exception_ptr readError;
        ForEachPart(parts, parts, [&](std::size_t part, std::size_t, std::size_t) {
            std::vector<ParsedLine>& lines = parsed[part];
            lines.clear();
            forEachLine(block, starts[part], starts[part + 1], [&](QByteArrayView line) {
                lines.emplace_back().line = line;
                parseCommonLine(lines.back(), plan, texts[part]);
            });
            if (part == 0) {
                try {
                    following = file.next();
                } catch (...) {
                    readError = std::current_exception();
                }
            }
        });
        bool general = false;
        for (std::size_t part = 0; part < parts; ++part) {
            for (const ParsedLine& line : parsed[part])
                general = general || line.kind == ParsedLine::Kind::General;
        }

        if (plan.numbering == LinePlan::Numbering::FirstField && !general) {
            // Nothing here depends on the store: every line's point goes in,
            // except those whose numbers overflowed, and the identifier left
            // behind is the last line's. The points are moved into place side
            // by side.
            std::vector<std::size_t> offsets(parts + 1);
            for (std::size_t part = 0; part < parts; ++part) {
                std::size_t points = 0;
                for (const ParsedLine& line : parsed[part])
                    points += line.kind == ParsedLine::Kind::Point;
                offsets[part + 1] = offsets[part] + points;
            }
            const auto base = static_cast<std::size_t>(std::nearbyint(state.PointCount));
            // As AddPoint leaves it: the empty slot behind the last point.
            if (offsets[parts] > 0) {
                state.ReservePoints(offsets[parts]);
                state.Points.resize(base + offsets[parts] + 1);
            }
            for (std::size_t part = parts; part-- > 0;) {
                if (!parsed[part].empty()) {
                    state.CurrentMatricule = parsed[part].back().point.Matricule;
                    break;
                }
            }
            ForEachPart(parts, parts, [&](std::size_t part, std::size_t, std::size_t) {
                std::size_t at = base + offsets[part];
                for (ParsedLine& line : parsed[part]) {
                    if (line.kind == ParsedLine::Kind::Point)
                        state.Points[at++] = std::move(line.point);
                }
            });
            state.PointCount += double(offsets[parts]);
            for (std::size_t part = 0; part < parts; ++part) {
                for (std::size_t i = 0; i < parsed[part].size(); ++i)
                    progress.tick();
            }
        } else {
            for (std::size_t part = 0; part < parts; ++part) {
                for (ParsedLine& line : parsed[part]) {
                    applyLine(state, line, plan, texts[cores]);
                    progress.tick();
                }
            }
        }
        if (readError)
            std::rethrow_exception(readError);
        block = following;
    }
}

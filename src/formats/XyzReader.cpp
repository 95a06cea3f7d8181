#include "formats/XyzReader.h"

#include "app/GestionDonnee.h"
#include "platform/NumberText.h"
#include "platform/Progress.h"
#include "platform/RuntimeError.h"
#include "platform/TextFile.h"
#include "platform/TextUtil.h"

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
    LineReader file(fileName);
    while (!file.atEnd()) {
        ReadXyzLine(state, file.readLine());
        progress.tick();
    }
}

QString CommaToPoint(const QString& text) {
    QString result = text;
    const qsizetype comma = result.indexOf(u',');
    if (comma >= 0)
        result[comma] = u'.';
    return result;
}

QString PointToComma(const QString& text) {
    QString result = text;
    const qsizetype point = result.indexOf(u'.');
    if (point >= 0)
        result[point] = u',';
    return result;
}

#include "import/Importer.h"

#include "platform/NumberText.h"
#include "platform/Progress.h"
#include "platform/Variant.h"
#include "state/GestionDonnee.h"

#include <cmath>

using namespace platform;

// The POINT entities of any DXF drawing, read as group code and value pairs:
// only those of the ENTITIES section, with their own codes 10, 20 and 30, so
// that lines, texts and blocks around them give nothing.

namespace importing {

namespace {

constexpr std::size_t kKeptRejected = 10;

QByteArrayView trimmed(QByteArrayView text) {
    qsizetype begin = 0, end = text.size();
    while (begin < end && (text[begin] == ' ' || text[begin] == '\t'))
        ++begin;
    while (end > begin && (text[end - 1] == ' ' || text[end - 1] == '\t'))
        --end;
    return text.sliced(begin, end - begin);
}

// Reads the pairs of the text one after the other.
class PairReader {
public:
    explicit PairReader(const ImportText& text) : text_(text) {}

    // The next pair; false at the end of the text or at a code that is no
    // whole number (the drawing cannot be followed past it).
    bool next() {
        if (line_ + 1 >= text_.lineCount())
            return false;
        double number = 0;
        const QByteArrayView code = trimmed(text_.line(line_));
        // Group codes are short: a long number is no code, and would not fit an int.
        if (!IsPlainWholeNumber(code) || !ReadPlainNumber(code, '.', number) ||
            std::abs(number) > 1e9) {
            broken_ = true;
            return false;
        }
        code_ = int(number);
        value_ = trimmed(text_.line(line_ + 1));
        codeLine_ = line_ + 1;
        line_ += 2;
        return true;
    }
    int code() const { return code_; }
    QByteArrayView value() const { return value_; }
    bool is(int code, const char* value) const { return code_ == code && value_ == value; }
    qsizetype codeLine() const { return codeLine_; } // numbered from 1
    // True when reading stopped at a line that is no group code.
    bool broken() const { return broken_; }
    qsizetype line() const { return line_ + 1; }

private:
    const ImportText& text_;
    qsizetype line_ = 0;
    qsizetype codeLine_ = 0;
    int code_ = -1;
    QByteArrayView value_;
    bool broken_ = false;
};

} // namespace

ImportReport ImportDxfPoints(GestionDonnee& state, const QString& fileName, Progress& progress) {
    const ImportText text = ImportText::fromFile(fileName);
    ImportReport report;
    report.layout.encoding = text.encoding();
    PairReader pairs(text);

    bool found = false; // the ENTITIES section
    while (!found && pairs.next()) {
        if (!pairs.is(0, "SECTION"))
            continue;
        found = pairs.next() && pairs.is(2, "ENTITIES");
    }
    bool pending = pairs.next(); // a pair read but not yet looked at
    while (found && pending && !pairs.is(0, "ENDSEC") && !pairs.is(0, "EOF")) {
        if (!pairs.is(0, "POINT")) {
            pending = pairs.next();
            continue;
        }
        const qsizetype line = pairs.codeLine();
        bool hasX = false, hasY = false, goodX = true, goodY = true, goodZ = true;
        PointRecord point;
        while ((pending = pairs.next()) && pairs.code() != 0) {
            // The first of each code: a POINT has only one.
            if (pairs.code() == 10 && !hasX) {
                hasX = true;
                goodX = ReadPlainNumber(pairs.value(), '.', point.X);
            } else if (pairs.code() == 20 && !hasY) {
                hasY = true;
                goodY = ReadPlainNumber(pairs.value(), '.', point.Y);
            } else if (pairs.code() == 30) {
                goodZ = ReadPlainNumber(pairs.value(), '.', point.Z);
            }
        }
        QString reason;
        if (!hasX || !hasY)
            reason = QStringLiteral("POINT sans %1").arg(!hasX ? u'X' : u'Y');
        else if (!goodX || !goodY || !goodZ)
            reason = QStringLiteral("POINT dont %1 n'est pas un nombre")
                         .arg(!goodX ? u'X' : (!goodY ? u'Y' : u'Z'));
        if (!reason.isNull()) {
            ++report.rejectedCount;
            if (report.rejected.size() < kKeptRejected)
                report.rejected.push_back({line, reason});
            continue;
        }
        // Named as the DXF reader names its points: Num_Pt_Dxf, counted on in
        // memory only, so the next drawing read in this run continues from it.
        Variant& number = state.Settings.Num_Pt_Dxf;
        point.Matricule = number.isNumber() ? DefaultText(number.toNumber()) : number.toText();
        state.AddPoint(std::move(point));
        number = number.plus(1);
        ++report.points;
        progress.tick();
    }
    if (pairs.broken())
        report.note = QStringLiteral("ligne %1 : pas un code de groupe DXF, lecture arrêtée")
                          .arg(DefaultText(double(pairs.line())));
    else if (!found)
        report.note = QStringLiteral("aucune section ENTITIES, aucune entité POINT");
    else if (report.points == 0 && report.rejectedCount == 0)
        report.note = QStringLiteral("aucune entité POINT");
    return report;
}

} // namespace importing

#include "formats/DxfReader.h"

#include "formats/DecimalComma.h"
#include "platform/NumberText.h"
#include "platform/Parallel.h"
#include "platform/Progress.h"
#include "platform/RuntimeError.h"
#include "platform/TextArena.h"
#include "platform/TextFile.h"
#include "platform/TextUtil.h"
#include "state/CommandContext.h"
#include "state/GestionDonnee.h"

#include <cmath>
#include <exception>
#include <vector>

using namespace platform;

// Not a DXF parser: a scanner that finds the first POINT of the ENTITIES
// section and from there takes every group code 10 as the start of a point,
// with X, Y and Z at fixed positions after it. Files from CAD programs and
// from our own writer have always been read this way, extra points included.

namespace {

// Comparisons are on the field's text, blanks trimmed, exact and
// case-sensitive. A number field's text is its default text, which never
// spells a section or entity name.
bool isName(const RawField& raw, QByteArrayView name) {
    // A number field never spells a name, and a byte above 127 never
    // decodes to one of its ASCII letters: the bytes, blanks trimmed, decide.
    QByteArrayView text = raw.bytes();
    while (!text.isEmpty() && text.front() == ' ')
        text = text.sliced(1);
    while (!text.isEmpty() && text.back() == ' ')
        text.chop(1);
    return text == name;
}

// The code 10, compared as text like the names: a value such as "10.0" or
// "+10" counts too. Only a number within rounding of 10 can print as "10",
// which spares building a text for every numeric field of the file.
bool isCode10(const Field& field) {
    if (field.isNumber()) {
        const double value = field.number();
        if (value == 10.0)
            return true;
        if (!(std::abs(value - 10.0) < 1e-9))
            return false;
    }
    const QString text = field.text();
    return TrimSpaces(QStringView(text)) == u"10";
}

// The same decision on the field's bytes, without making it a Field, for the
// millions of fields of a large file; a field it cannot settle goes to
// isCode10. A quoted field is its text: "10" once blanks are trimmed. An
// unquoted one is a text that never trims to "10" (reading skipped its
// leading blanks and cut its trailing ones, and "10" itself is a number), or
// a number, which prints as "10" only near 10: not when negative, nor when
// its whole part, without an exponent, is other than 9 or 10.
bool isCode10(const RawField& raw) {
    const char* b = raw.text;
    const qsizetype n = raw.length;
    if (raw.quoted) {
        qsizetype begin = 0, end = n;
        while (begin < end && b[begin] == ' ')
            ++begin;
        while (end > begin && b[end - 1] == ' ')
            --end;
        return end - begin == 2 && b[begin] == '1' && b[begin + 1] == '0';
    }
    if (n == 2 && b[0] == '1' && b[1] == '0')
        return true;
    if (n == 0 || b[0] == '-')
        return false;
    qsizetype i = b[0] == '+' ? 1 : 0;
    while (i < n && b[i] == '0')
        ++i;
    const qsizetype digits = i;
    while (i < n && b[i] >= '0' && b[i] <= '9')
        ++i;
    const qsizetype wholeLength = i - digits;
    const bool nineOrTen = (wholeLength == 1 && b[digits] == '9') ||
                           (wholeLength == 2 && b[digits] == '1' && b[digits + 1] == '0');
    if (i < n && b[i] == '.') {
        ++i;
        while (i < n && b[i] >= '0' && b[i] <= '9')
            ++i;
    }
    // An exponent: read it. A number beyond the double range stays a text,
    // which is not "10" either.
    double number = 0;
    if (i < n && (b[i] == 'e' || b[i] == 'E'))
        return FieldReader::numberOf(raw, number) && isCode10(Field(number));
    if (i != n)
        return false; // a text
    return nineOrTen && FieldReader::numberOf(raw, number) && isCode10(Field(number));
}

// A coordinate as the files mostly write it: digits with at most three
// decimals, 15 significant digits at most, not zero. Going through the
// regional format with three decimals changes nothing for it: its double
// prints back as its own digits (a double keeps 15 of them exactly), the
// rounding to three decimals has nothing to cut, and when the regional
// decimal character is "," or "." the text reads back as the same digits,
// hence the same double.
bool plainThreeDecimals(const RawField& raw) {
    if (raw.quoted)
        return false;
    const char* b = raw.text;
    const qsizetype n = raw.length;
    qsizetype i = (n > 0 && (b[0] == '+' || b[0] == '-')) ? 1 : 0;
    int significant = 0;
    bool digits = false;
    for (; i < n && b[i] >= '0' && b[i] <= '9'; ++i) {
        digits = true;
        significant += significant > 0 || b[i] != '0';
    }
    if (!digits)
        return false;
    if (i < n) {
        if (b[i] != '.')
            return false;
        const qsizetype point = i++;
        for (; i < n && b[i] >= '0' && b[i] <= '9'; ++i)
            significant += significant > 0 || b[i] != '0';
        if (i != n || i - point - 1 < 1 || i - point - 1 > 3)
            return false;
    }
    return significant > 0 && significant <= 15;
}

// A coordinate goes through the regional format with three decimals, then
// back with "." as decimal point. That rounds it to three decimals; a text
// the regional format cannot read (a quoted "1.5" under a comma locale)
// comes back as it was and keeps all its decimals. Worked out on the field's
// bytes, in a buffer, so that a field of any length costs no copy of it.
class CoordinateReader {
public:
    CoordinateReader()
        : format_(NumberFormat::current()), pattern_(QStringLiteral("##.000"), format_),
          pointOrComma_(format_.decimal == u'.' || format_.decimal == u',') {}

    double operator()(const RawField& raw) {
        // The usual field: nothing to do where the formatting cannot change
        // the number.
        if (pointOrComma_ && plainThreeDecimals(raw))
            return Val(QLatin1StringView(raw.text, raw.length));
        double number = 0;
        if (!FieldReader::numberOf(raw, number) &&
            !ReadLocaleNumberCp1252(raw.bytes(), format_, number))
            return ValFirstCommaAsPoint(raw.bytes()); // the text unchanged
        text_.clear();
        pattern_.append(text_, number);
        // CommaToPoint: the first comma only.
        for (char16_t& c : text_) {
            if (c == u',') {
                c = u'.';
                break;
            }
        }
        return Val(QStringView(text_.constData(), text_.size()));
    }

private:
    NumberFormat format_;
    NumberPattern pattern_;
    bool pointOrComma_;
    TextBuffer text_;
};

// Points scanned before their coordinates are worked out: enough to share
// out, few enough for the progress to be told often.
constexpr std::size_t kBatchPoints = 1 << 15;
// Longer than any coordinate a program writes.
constexpr qsizetype kLongField = 4096;

} // namespace

void ReadDxfFile(CommandContext& context, const QString& path, qsizetype bufferBytes) {
    GestionDonnee& state = context.state;
    FieldReader file(path, bufferBytes > 0 ? bufferBytes : FieldReader::kChunkBytes);

    // Reading past the end (no ENTITIES, or no POINT after it) is error 62,
    // left to the caller like every other failure here.
    // On the field's bytes: a field of any length is looked at where it
    // stands, never copied or decoded.
    RawField field = file.readRawField();
    while (!isName(field, "ENTITIES"))
        field = file.readRawField();
    // The search starts at the ENTITIES field itself; codes 10 before the
    // first POINT are passed over.
    while (!isName(field, "POINT"))
        field = file.readRawField();

    // From here to the end of the file, whatever the entity or section
    // (ENDSEC does not stop it), every field "10" starts a point, even when
    // it is a value: our own elevation texts carry the oblique angle 10.
    // Fields are scanned in order, a batch of points at a time; their
    // coordinates are then worked out side by side, and the points taken
    // into the store in order, each as the scan met it.
    // The reader's fields last only until its next read: those of a batch
    // are kept in a byte store of its own until their points are made. A
    // field too long to be a plain coordinate (a quote left open runs to the
    // end of the file) is worked out at once instead, so that it is never
    // held twice; its outcome waits with the others.
    struct KeptField {
        std::size_t offset = 0;
        qsizetype length = 0;
        bool quoted = false;
        bool worked = false;
        double value = 0;
        std::exception_ptr error;
    };
    struct Pending {
        KeptField x, y, z;
        PointRecord point;
        std::exception_ptr error; // a coordinate that failed, X before Y before Z
    };
    std::vector<Pending> batch;
    std::vector<char> kept;
    CoordinateReader longFieldOf;
    const auto keep = [&kept, &longFieldOf](const RawField& raw) {
        KeptField field;
        field.offset = kept.size();
        field.length = raw.length;
        field.quoted = raw.quoted;
        if (raw.length > kLongField) {
            field.worked = true;
            try {
                field.value = longFieldOf(raw);
            } catch (const RuntimeError&) {
                field.error = std::current_exception();
            }
            return field;
        }
        kept.insert(kept.end(), raw.text, raw.text + raw.length);
        return field;
    };
    TextArena names;
    const NumberFormat format = NumberFormat::current();
    bool firstBatch = true;
    for (;;) {
        batch.clear();
        kept.clear();
        std::exception_ptr endError;
        try {
            while (batch.size() < kBatchPoints && !file.atEnd()) {
                if (!isCode10(file.readRawField()))
                    continue;
                // The next five fields by position, codes unchecked and no end
                // test: a file ending inside them fails with error 62, the
                // points read so far staying in the store.
                Pending& pending = batch.emplace_back();
                pending.x = keep(file.readRawField());
                file.readRawField(); // normally the code 20
                pending.y = keep(file.readRawField());
                file.readRawField(); // normally the code 30
                pending.z = keep(file.readRawField());
            }
        } catch (const RuntimeError&) {
            batch.pop_back(); // the point cut short
            endError = std::current_exception();
        }

        const std::size_t parts = PartsFor(batch.size(), 4096);
        ForEachPart(batch.size(), parts, [&](std::size_t, std::size_t begin, std::size_t end) {
            CoordinateReader coordinateOf;
            const auto valueOf = [&](const KeptField& field) {
                if (!field.worked)
                    return coordinateOf(
                        RawField{kept.data() + field.offset, field.length, field.quoted});
                if (field.error)
                    std::rethrow_exception(field.error);
                return field.value;
            };
            for (std::size_t i = begin; i < end; ++i) {
                Pending& pending = batch[i];
                try {
                    pending.point.X = valueOf(pending.x);
                    pending.point.Y = valueOf(pending.y);
                    pending.point.Z = valueOf(pending.z);
                } catch (const RuntimeError&) {
                    pending.error = std::current_exception();
                }
            }
        });

        // Room for the whole file's points, judged from those of the first
        // batch, so that the store is not copied over and over as it grows.
        if (firstBatch && !batch.empty() && file.position() > 0)
            state.ReservePoints(std::size_t(double(batch.size()) * double(file.size()) /
                                            double(file.position()) * 1.05));
        firstBatch = false;
        state.ReservePoints(batch.size());
        for (Pending& pending : batch) {
            if (pending.error)
                std::rethrow_exception(pending.error);
            Variant& number = state.Settings.Num_Pt_Dxf;
            if (number.isNumber()) {
                TextBuffer name;
                AppendDefaultText(name, number.toNumber(), format);
                pending.point.Matricule = names.copy(QStringView(name.constData(), name.size()));
            } else {
                pending.point.Matricule = number.toText();
            }
            state.AddPoint(std::move(pending.point));
            // Counted on in memory only, never saved: the next file read in
            // this run continues from here. An empty setting (numbering
            // switched off) fails here with a type mismatch, after its one
            // point was appended.
            number = number.plus(1);
            context.progress.tick();
        }
        if (endError)
            std::rethrow_exception(endError);
        if (file.atEnd())
            return;
    }
}

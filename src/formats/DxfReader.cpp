#include "formats/DxfReader.h"

#include "app/CommandContext.h"
#include "app/GestionDonnee.h"
#include "formats/XyzReader.h"
#include "platform/NumberText.h"
#include "platform/Progress.h"
#include "platform/TextFile.h"
#include "platform/TextUtil.h"

#include <cmath>

using namespace platform;

// Not a DXF parser: a scanner that finds the first POINT of the ENTITIES
// section and from there takes every group code 10 as the start of a point,
// with X, Y and Z at fixed positions after it. Files from CAD programs and
// from our own writer have always been read this way, extra points included.

namespace {

// Comparisons are on the field's text, blanks trimmed, exact and
// case-sensitive. A number field's text is its default text, which never
// spells a section or entity name.
bool isName(const Field& field, QStringView name) {
    if (field.isNumber())
        return false;
    const QString text = field.text();
    return TrimSpaces(QStringView(text)) == name;
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

// A coordinate goes through the regional format with three decimals, then
// back with "." as decimal point. That rounds it to three decimals; a text
// the regional format cannot read (a quoted "1.5" under a comma locale)
// comes back as it was and keeps all its decimals.
double coordinate(const Field& field) {
    static const QString pattern = QStringLiteral("##.000");
    const QString formatted =
        field.isNumber() ? Format(field.number(), pattern) : Format(field.text(), pattern);
    return Val(CommaToPoint(formatted));
}

} // namespace

void ReadDxfFile(CommandContext& context, const QString& path) {
    GestionDonnee& state = context.state;
    FieldReader file(path);

    // Reading past the end (no ENTITIES, or no POINT after it) is error 62,
    // left to the caller like every other failure here.
    Field field = file.readField();
    while (!isName(field, u"ENTITIES"))
        field = file.readField();
    // The search starts at the ENTITIES field itself; codes 10 before the
    // first POINT are passed over.
    while (!isName(field, u"POINT"))
        field = file.readField();

    // From here to the end of the file, whatever the entity or section
    // (ENDSEC does not stop it), every field "10" starts a point, even when
    // it is a value: our own elevation texts carry the oblique angle 10.
    while (!file.atEnd()) {
        if (!isCode10(file.readField()))
            continue;
        // The next five fields by position, codes unchecked and no end test:
        // a file ending inside them fails with error 62, the points read so
        // far staying in the store.
        const Field x = file.readField();
        file.readField(); // normally the code 20
        const Field y = file.readField();
        file.readField(); // normally the code 30
        const Field z = file.readField();

        PointRecord record;
        record.X = coordinate(x);
        record.Y = coordinate(y);
        record.Z = coordinate(z);
        record.Matricule = state.Settings.Num_Pt_Dxf.toText();
        state.AddPoint(record);
        // Counted on in memory only, never saved: the next file read in this
        // run continues from here. An empty setting (numbering switched off)
        // fails here with a type mismatch, after its one point was appended.
        state.Settings.Num_Pt_Dxf = state.Settings.Num_Pt_Dxf.plus(1);
        context.progress.tick();
    }
}

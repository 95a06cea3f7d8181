#include "editing/PointEditing.h"

#include "formats/DecimalComma.h"
#include "platform/Dialogs.h"
#include "platform/NumberText.h"
#include "platform/PointGridModel.h"
#include "platform/RuntimeError.h"
#include "platform/TextUtil.h"
#include "platform/Variant.h"
#include "state/MainWindowSurface.h"

#include <algorithm>
#include <cmath>

using namespace platform;

bool IsValidCoordinateText(const QString& text) {
    // A number is judged by its text with three decimals, so an exponent or
    // a regional decimal character typed by the user is not held against it.
    const QString checked = PointToComma(Format(text, u"0.000"));
    int commas = 0;
    for (const QChar c : checked) {
        if (c == u',')
            ++commas;
        else if ((c < u'0' || c > u'9') && c != u'-')
            return false;
    }
    return commas <= 1;
}

QString CoordinateTextAfterOk(const QString& text) {
    const QString filled = text.isEmpty() ? QStringLiteral("0") : text;
    // The field was typed with "," for "."; its leading number is read the
    // invariant way, so whatever follows it is dropped rather than refused.
    return DefaultText(Val(CommaToPoint(filled)));
}

PointRecord ScratchPointOf(const PointFields& fields) {
    PointRecord point;
    point.X = CDbl(fields.X);
    point.Y = CDbl(fields.Y);
    point.Z = CDbl(fields.Z);
    point.Matricule = fields.Matricule; // as typed: not trimmed, may be empty
    return point;
}

namespace {

QString listRowOf(const GestionDonnee& state, const PointRecord& point) {
    const QChar tab(u'\t');
    return point.Matricule + tab + state.FormatCoordinate(point.X) + tab +
           state.FormatCoordinate(point.Y) + tab + state.FormatCoordinate(point.Z);
}

} // namespace

void EnterPoint(GestionDonnee& state, const PointRecord& scratch) {
    // A new point always goes to the end of the store and of the list, with
    // whatever identifier was typed: duplicates and empty ones are accepted.
    state.AddPoint(scratch);
    state.Grid.addItem(listRowOf(state, scratch));
    state.DataModified = true;
}

void ModifyPoint(GestionDonnee& state, const PointRecord& scratch) {
    state.SetPoint(scratch, state.SelectedIndex);
    // The list row is the store index + 1; once a row has been deleted the two
    // no longer line up and another row gets rewritten. Kept as it is.
    const int row = static_cast<int>(std::nearbyint(state.SelectedIndex)) + 1;
    state.Grid.setTextMatrix(row, 0, scratch.Matricule);
    state.Grid.setTextMatrix(row, 1, state.FormatCoordinate(scratch.X));
    state.Grid.setTextMatrix(row, 2, state.FormatCoordinate(scratch.Y));
    state.Grid.setTextMatrix(row, 3, state.FormatCoordinate(scratch.Z));
    state.DataModified = true;
}

bool PrepareModifyCommand(GestionDonnee& state) {
    const PointGridModel& grid = state.Grid;
    if (grid.rows() == 1 || grid.row() == 0)
        return false;
    state.SelectedIndex = grid.row() - 1;
    state.EditMode = editmode::Modify;
    const auto index = static_cast<std::size_t>(state.SelectedIndex);
    if (index >= state.Points.size())
        throw RuntimeError(RuntimeError::SubscriptOutOfRange);
    const PointRecord& point = state.Points[index];
    state.CurrentMatricule = point.Matricule;
    state.EditX = point.X;
    state.EditY = point.Y;
    state.EditZ = point.Z;
    return true;
}

bool PrepareSearchCommand(GestionDonnee& state) {
    // The header row counts, so the search opens even on an empty list.
    if (state.Grid.rows() == 0)
        return false;
    state.EditMode = editmode::Search;
    return true;
}

void DeletePointCommand(GestionDonnee& state, MainWindowSurface& window) {
    PointGridModel& grid = state.Grid;
    const int row = grid.row();
    if (row == 0)
        return;
    // Kept on purpose: the selected index is the row itself (not row - 1),
    // and only the list row goes. The store, PointCount and DataModified stay
    // as they are, so the point comes back with the next rebuild of the list
    // and is still written by a save. No confirmation is asked.
    state.SelectedIndex = row;
    grid.removeItem(row);
    window.setCountLabel(GestionDonnee::PointCountLabel(grid.rows() - 1));
}

bool ShouldCheckMatricule(const GestionDonnee& state, const QString& typedMatricule) {
    // Only in modify mode, and only when the identifier was changed; entering
    // a point accepts any identifier.
    return !typedMatricule.isEmpty() && state.EditMode != editmode::Search &&
           state.InitialMatricule.toText() != typedMatricule && state.EditMode == editmode::Modify;
}

bool IsMatriculeFree(PointGridModel& grid, const Variant& currentMatricule) {
    // The list is compared with CurrentMatricule, not with the typed text. In
    // modify mode that is the point's own identifier, which is in the list,
    // so every change of identifier is refused and undone. Users have always
    // seen it behave so; kept on purpose. The header row is scanned too.
    const QString wanted = TrimSpaces(currentMatricule.toText());
    for (int row = 0; row < grid.rows(); ++row) {
        grid.setRow(row);
        grid.setCol(0);
        const QString matricule = grid.textMatrix(row, 0);
        // The coordinates of the row are visited as well, which leaves the
        // current column on the last one.
        grid.setCol(3);
        if (TrimSpaces(matricule) == wanted)
            return false;
    }
    return true;
}

SearchKey::SearchKey(const PointFields& fields) {
    trimmed.Matricule = TrimSpaces(fields.Matricule);
    trimmed.X = TrimSpaces(fields.X);
    trimmed.Y = TrimSpaces(fields.Y);
    trimmed.Z = TrimSpaces(fields.Z);
    const auto number = [](const QString& text) -> std::optional<double> {
        if (text.isEmpty())
            return std::nullopt;
        return CDbl(text);
    };
    X = number(trimmed.X);
    Y = number(trimmed.Y);
    Z = number(trimmed.Z);
}

bool MatchesAnyField(const SearchKey& key, const PointRecord& point) {
    // Exact comparisons: no tolerance on coordinates, and the stored
    // identifier is not trimmed, so one with a leading blank is never found.
    return key.trimmed.Matricule == point.Matricule || (key.X && *key.X == point.X) ||
           (key.Y && *key.Y == point.Y) || (key.Z && *key.Z == point.Z);
}

bool MatchesAllFields(const SearchKey& key, const PointRecord& point) {
    // Each field is satisfied when it is empty or equals the stored value...
    const bool satisfied[4] = {
        key.trimmed.Matricule.isEmpty() || key.trimmed.Matricule == point.Matricule,
        !key.X || *key.X == point.X,
        !key.Y || *key.Y == point.Y,
        !key.Z || *key.Z == point.Z,
    };
    Q_UNUSED(satisfied);
    // ...but the total adds the per-point tallies, which nothing raises. So
    // "Rechercher tous les éléments" never reports a point and always walks
    // to "Recherche terminée". That is how it has always behaved; kept.
    const int tallies[4] = {0, 0, 0, 0};
    const int total = tallies[0] + tallies[1] + tallies[2] + tallies[3];
    return total == 4;
}

QString PointFoundPrompt(const PointRecord& point) {
    const QChar cr(u'\r');
    return QStringLiteral("Point trouvé") + cr + QStringLiteral("Num= ") + point.Matricule + cr +
           QStringLiteral("X= ") + DefaultText(point.X) + cr + QStringLiteral("Y= ") +
           DefaultText(point.Y) + cr + QStringLiteral("Z= ") + DefaultText(point.Z) + cr + cr +
           QStringLiteral("Voulez vous l'éditer ?");
}

SearchOutcome SearchPoints(const std::vector<PointRecord>& points, double pointCount,
                           const PointFields& fields, SearchRule rule,
                           MessageBoxService& messages) {
    // The store is walked, not the list: a point deleted from the list is
    // still found. Every search starts again at the first point.
    const SearchKey key(fields);
    const std::size_t count =
        std::min(points.size(), static_cast<std::size_t>(std::max(pointCount, 0.0)));
    for (std::size_t i = 0; i < count; ++i) {
        const PointRecord& point = points[i];
        const bool found = rule == SearchRule::AnyField ? MatchesAnyField(key, point)
                                                        : MatchesAllFields(key, point);
        if (!found)
            continue;
        const MsgAnswer answer =
            messages.show(PointFoundPrompt(point), MsgButtons::YesNoCancel, MsgIcon::Information,
                          editortexts::pointFoundTitle());
        if (answer == MsgAnswer::Yes)
            return {SearchOutcome::Edit, i};
        if (answer == MsgAnswer::Cancel)
            return {SearchOutcome::Cancelled, i};
    }
    messages.show(editortexts::searchDone(), MsgButtons::Ok, MsgIcon::Information,
                  editortexts::searchDoneTitle());
    return {SearchOutcome::Finished, count};
}

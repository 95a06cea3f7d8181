#pragma once

#include "state/GestionDonnee.h"

#include <QString>
#include <cstddef>
#include <optional>
#include <vector>

class MainWindowSurface;
namespace platform {
class MessageBoxService;
class PointGridModel;
class Variant;
} // namespace platform

// The logic of the point editor (enter, modify, search) and of the delete
// command, over the state and the message boxes only: no widget here, so the
// window's slots just call these and the tests can call them directly.

// EditMode values.
namespace editmode {
constexpr int Enter = 1;
constexpr int Modify = 2;
constexpr int Search = 3;
} // namespace editmode

// The texts of the editor's four fields: Text4 (identifier), Text1, Text2, Text3.
struct PointFields {
    QString Matricule;
    QString X;
    QString Y;
    QString Z;
};

namespace editortexts {
inline QString badCoordinate() {
    return QStringLiteral("Coordonnée incorrecte");
}
inline QString badCoordinateTitle() {
    return QStringLiteral("Donnée incorrecte");
}
inline QString matriculeInUse() {
    return QStringLiteral("Ce numéro de point est déjà utilisé");
}
inline QString matriculeInUseTitle() {
    return QStringLiteral("Point existant");
}
inline QString pointFoundTitle() {
    return QStringLiteral("Point Trouvé");
}
inline QString searchDone() {
    return QStringLiteral("Recherche terminée");
}
inline QString searchDoneTitle() {
    return QStringLiteral("Recherche Terminée");
}
} // namespace editortexts

// --- Typing in a coordinate field ---

// The check run on every change of a coordinate field: digits, at most one
// ",", and "-" once the text has been formatted as a number with three
// decimals (when it is one). So "-", "12," and "1e5" pass, letters do not.
bool IsValidCoordinateText(const QString& text);

// --- OK ---

// OK's first steps for one coordinate field: an empty field becomes "0", then
// the leading number of the text (first "," read as the decimal point) is
// written back in the default number text. Error 6 for a number beyond the
// double range.
QString CoordinateTextAfterOk(const QString& text);
// The point built from the fields once OK has rewritten them: the identifier
// as typed, the coordinates read in the regional format.
PointRecord ScratchPointOf(const PointFields& fields);

// Enter mode: appends the point to the store and a row to the end of the list.
void EnterPoint(GestionDonnee& state, const PointRecord& scratch);
// Modify mode: overwrites store entry SelectedIndex and list row SelectedIndex + 1.
void ModifyPoint(GestionDonnee& state, const PointRecord& scratch);

// --- The main window's commands ---

// "Modifier le point": when a point row is current, takes its store entry
// (current row - 1) into the editor's state and answers true; otherwise
// false and nothing changes.
bool PrepareModifyCommand(GestionDonnee& state);
// "Rechercher": answers whether the editor opens in search mode.
bool PrepareSearchCommand(GestionDonnee& state);
// "Supprimer le point": removes the current list row only.
void DeletePointCommand(GestionDonnee& state, MainWindowSurface& window);

// --- Identifier check (modify mode) ---

// Whether leaving the identifier field runs the check.
bool ShouldCheckMatricule(const GestionDonnee& state, const QString& typedMatricule);
// Walks the list from row 0, header included, and answers false at the first
// row whose identifier equals CurrentMatricule (both trimmed). Leaves the
// list's current row and column where it stopped.
bool IsMatriculeFree(platform::PointGridModel& grid, const platform::Variant& currentMatricule);

// --- Search ---

enum class SearchRule {
    AnyField, // "Rechercher un des éléments"
    AllFields // "Rechercher tous les éléments"
};

struct SearchOutcome {
    enum Kind {
        Finished,  // walked the whole store; "Recherche terminée" shown
        Cancelled, // the user answered Cancel to a find
        Edit       // the user answered Yes: edit store entry index
    };
    Kind kind = Finished;
    std::size_t index = 0;
};

// The search key read from the fields after OK's first steps: the texts
// trimmed, the coordinates read in the regional format (none for an empty
// field; error 13 for a text that is no number).
struct SearchKey {
    explicit SearchKey(const PointFields& fields);
    PointFields trimmed;
    std::optional<double> X;
    std::optional<double> Y;
    std::optional<double> Z;
};

bool MatchesAnyField(const SearchKey& key, const PointRecord& point);
bool MatchesAllFields(const SearchKey& key, const PointRecord& point);
// The text of the "Point Trouvé" box.
QString PointFoundPrompt(const PointRecord& point);

// Walks store entries 0 to pointCount - 1, asking about each match; No goes
// on, Cancel and Yes stop. At the end of the walk shows "Recherche terminée".
SearchOutcome SearchPoints(const std::vector<PointRecord>& points, double pointCount,
                           const PointFields& fields, SearchRule rule,
                           platform::MessageBoxService& messages);

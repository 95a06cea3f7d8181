#pragma once

#include <QString>

class GestionDonnee;
namespace platform {
class MessageBoxService;
class Progress;
} // namespace platform

// "Immatriculation": gives every point of the store a new identifier in one
// pass. Plain functions over the state, so they run without the dialog.

// Where the new part goes: in place of the old identifier, before it or after it.
enum class NumberingMode { Replace, AddBefore, AddAfter };

namespace numbering_texts {
inline QString caption() {
    return QStringLiteral("Immatriculation");
}
inline QString refreshing() {
    return QStringLiteral("Affichage en cours...");
}
inline QString badNumber() {
    return QStringLiteral("Vous devez entrer un nombre correct");
}
inline QString noText() {
    return QStringLiteral("Vous devez entrer un texte à insérer");
}
} // namespace numbering_texts

// The text to insert, split at its first asterisk: Prefix before it, Suffix
// after it (later asterisks are ordinary characters of Suffix).
struct InsertionParts {
    QString Prefix;
    QString Suffix;
};
// A text without an asterisk gives two empty parts, so it contributes nothing
// to the identifiers: that is how numbering has always treated it.
InsertionParts SplitAtAsterisk(const QString& text);

// The counter as an identifier: the default text of a 32-bit float (7
// significant digits, the regional decimal character).
QString NumberingCounterText(float counter);

// Numeric numbering ("Immatriculer" of "Valeur numérique"). startText must be
// a number in the regional format, else "Vous devez entrer un nombre correct"
// is shown and nothing changes (returns false). counter is the dialog's
// NumberingCounter: set from startText, one more after each point.
bool NumberPoints(GestionDonnee& state, platform::MessageBoxService& messages,
                  const QString& startText, NumberingMode mode, float& counter,
                  platform::Progress& progress);

// Text numbering ("Immatriculer" of "Valeur alphanumérique"): Prefix, the
// counter when withNumber, Suffix. An empty text or (with withNumber) a start
// that is no number shows its message and changes nothing (returns false).
// Without withNumber the counter is neither set nor shown, yet still counts.
bool NumberPointsWithText(GestionDonnee& state, platform::MessageBoxService& messages,
                          const QString& text, bool withNumber, const QString& startText,
                          NumberingMode mode, float& counter, platform::Progress& progress);

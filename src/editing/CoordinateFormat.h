#pragma once

#include <QString>
#include <QStringList>

class GestionDonnee;
namespace platform {
class Progress;
class SettingsStore;
} // namespace platform

// "Format des données": how coordinates are shown in the list. Only the
// display changes; the doubles of the store are never rounded.

namespace format_texts {
inline QString caption() {
    return QStringLiteral("Format des données");
}
} // namespace format_texts

// The patterns offered, 0 to 6 decimals; the entry's text is the pattern stored.
QStringList DecimalPatterns();

// The number pattern NbDec, in memory and saved at once in "App".
void SetNumberPattern(GestionDonnee& state, platform::SettingsStore& settings,
                      const QString& pattern);
// The thousands separator flag SepSys, in memory and saved at once ("0"/"1").
void SetThousandsSeparator(GestionDonnee& state, platform::SettingsStore& settings, bool shown);

// Rewrites the cells of the list from the store with the current format:
// grid row i + 1 gets store entry i, whatever rows the list has lost since its
// last rebuild; a row past the end of the list is not written. Sets
// DataModified for every point, so an empty store leaves it as it was.
void RewritePointRows(GestionDonnee& state, platform::Progress& progress);

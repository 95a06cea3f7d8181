#include "editing/CoordinateFormat.h"

#include "platform/NumberText.h"
#include "platform/Progress.h"
#include "platform/SettingsStore.h"
#include "state/GestionDonnee.h"
#include "state/Startup.h"

#include <algorithm>
#include <cmath>

QStringList DecimalPatterns() {
    return {QStringLiteral("0"),       QStringLiteral("0.0"),    QStringLiteral("0.00"),
            QStringLiteral("0.000"),   QStringLiteral("0.0000"), QStringLiteral("0.00000"),
            QStringLiteral("0.000000")};
}

void SetNumberPattern(GestionDonnee& state, platform::SettingsStore& settings,
                      const QString& pattern) {
    state.Settings.NbDec = pattern;
    settings.setValue(sections::app(), QStringLiteral("NbDec"), pattern);
}

void SetThousandsSeparator(GestionDonnee& state, platform::SettingsStore& settings, bool shown) {
    const int16_t flag = shown ? 1 : 0;
    settings.setValue(sections::app(), QStringLiteral("SepSys"), platform::DefaultText(flag));
    state.Settings.SepSys = flag;
}

void RewritePointRows(GestionDonnee& state, platform::Progress& progress) {
    const double count = std::floor(state.PointCount);
    const QString ofCount =
        QLatin1Char('/') + platform::DefaultText(count) + QStringLiteral(" points");
    const QString captionStart = QStringLiteral("Formatage en cours... ");
    platform::PointGridModel& grid = state.Grid;
    // Rows are addressed by store index: after a row was deleted from the list
    // the rows below it get the entries at their old positions and the last
    // entries fall past the end, where the grid ignores them. The list is not
    // rebuilt here, only its cells rewritten.
    for (double i = 0; i < count; ++i) {
        const auto index = static_cast<std::size_t>(i);
        const int row = static_cast<int>(std::min(i + 1, 2147483647.0));
        const PointRecord& point = state.Points[index];
        grid.setTextMatrix(row, 0, point.Matricule);
        grid.setTextMatrix(row, 1, state.FormatCoordinate(point.X));
        grid.setTextMatrix(row, 2, state.FormatCoordinate(point.Y));
        grid.setTextMatrix(row, 3, state.FormatCoordinate(point.Z));
        state.DataModified = true;
        progress.setCaption(captionStart + platform::DefaultText(i + 1) + ofCount);
    }
}

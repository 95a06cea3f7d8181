#include "editing/CoordinateFormat.h"

#include "platform/NumberText.h"
#include "platform/Parallel.h"
#include "platform/Progress.h"
#include "platform/SettingsStore.h"
#include "state/GestionDonnee.h"
#include "state/Startup.h"

#include <algorithm>
#include <cmath>
#include <thread>
#include <vector>

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
    if (!(count >= 1))
        return;
    const QString ofCount =
        QLatin1Char('/') + platform::DefaultText(count) + QStringLiteral(" points");
    const QString captionStart = QStringLiteral("Formatage en cours... ");
    platform::PointGridModel& grid = state.Grid;
    // Rows are addressed by store index: after a row was deleted from the list
    // the rows below it get the entries at their old positions and the last
    // entries fall past the end, where the grid ignores them. The list is not
    // rebuilt here, only its rows rewritten: each row gets its point's
    // identifier and coordinates, as setting its four cells one by one would.
    const std::size_t rows =
        std::min(static_cast<std::size_t>(count), static_cast<std::size_t>(grid.rows() - 1));
    constexpr std::size_t kChunkRows = 1 << 16;
    const std::thread::id caller = std::this_thread::get_id();
    std::vector<platform::PointGridModel::RowStore> parts((rows + kChunkRows - 1) / kChunkRows);
    // A caption for every row of the calling thread; the others' rows are
    // built meanwhile.
    double captioned = 0; // the number of the last caption
    class Captions : public platform::NoProgress {
    public:
        Captions(platform::Progress& progress, const QString& start, const QString& end,
                 double& number)
            : progress_(progress), start_(start), end_(end), number_(number) {}
        void tick() override { progress_.setCountCaption(start_, ++number_, end_); }

    private:
        platform::Progress& progress_;
        const QString& start_;
        const QString& end_;
        double& number_;
    };
    platform::ForEachChunk(rows, kChunkRows, platform::PartsFor(rows),
                           [&](std::size_t part, std::size_t begin, std::size_t end) {
                               platform::PointGridModel::RowStore built;
                               if (std::this_thread::get_id() == caller) {
                                   captioned = double(begin);
                                   Captions captions(progress, captionStart, ofCount, captioned);
                                   state.AppendRewrittenRows(begin, end, built, captions);
                               } else {
                                   platform::NoProgress none;
                                   state.AppendRewrittenRows(begin, end, built, none);
                               }
                               parts[part] = std::move(built);
                           });
    grid.replaceRows(1, std::move(parts));
    // Every point of the store counts, written to the list or not, and the
    // caption ends on the last one.
    state.DataModified = true;
    if (captioned != count)
        progress.setCountCaption(captionStart, count, ofCount);
}

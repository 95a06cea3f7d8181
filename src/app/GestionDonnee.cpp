#include "app/GestionDonnee.h"

#include "platform/NumberText.h"
#include "platform/RuntimeError.h"
#include "platform/TextUtil.h"

#include <cmath>

using platform::RuntimeError;

// The list starts as the grid control was laid out: one fixed header row,
// whose texts and widths start-up gives.
GestionDonnee::GestionDonnee() {
    Grid.setFixedRows(1);
}

void GestionDonnee::AddPoint(const PointRecord& record) {
    // The array's highest index becomes PointCount + 1: the new point plus the
    // empty slot behind it. std::vector grows its capacity geometrically.
    const auto index = static_cast<std::size_t>(std::nearbyint(PointCount));
    Points.resize(index + 2);
    Points[index] = record;
    PointCount += 1;
}

void GestionDonnee::SetPoint(const PointRecord& record, double index) {
    const double rounded = std::nearbyint(index); // half to even
    if (!(rounded >= 0) || rounded >= static_cast<double>(Points.size()))
        throw RuntimeError(RuntimeError::SubscriptOutOfRange);
    Points[static_cast<std::size_t>(rounded)] = record;
}

void GestionDonnee::RefreshPointList() {
    const auto count = static_cast<std::size_t>(PointCount);
    std::vector<QString> rows;
    rows.reserve(count);
    const QChar tab(u'\t');
    for (std::size_t i = 0; i < count; ++i) {
        const PointRecord& point = Points[i];
        rows.push_back(point.Matricule + tab + FormatCoordinate(point.X) + tab +
                       FormatCoordinate(point.Y) + tab + FormatCoordinate(point.Z));
    }
    Grid.replacePointRows(std::move(rows));
}

QString GestionDonnee::FormatCoordinate(double value) const {
    const QString pattern =
        Settings.SepSys == 1 ? QStringLiteral("###,###,###,##") + Settings.NbDec : Settings.NbDec;
    return platform::TrimSpaces(platform::Format(value, pattern));
}

QString GestionDonnee::PointCountLabel(double count) {
    return QStringLiteral("Nombre de points : ") + platform::DefaultText(count);
}

#include "Fixtures.h"

#include <charconv>

#include "TestSupport.h"

#include "state/Startup.h"

namespace testing {

CommandFixture::CommandFixture() {
    LoadSettings(state.Settings, settings);
}

QString CommandFixture::file(const QString& name, const QByteArray& content) const {
    const QString path = dir.filePath(name);
    writeBytes(path, content);
    return path;
}

QStringList items(const QString& text) {
    return text.isEmpty() ? QStringList() : text.split(QStringLiteral(" & "));
}

QStringList gridColumn(const GestionDonnee& state, int col) {
    QStringList out;
    for (int row = 1; row < state.Grid.rows(); ++row)
        out << state.Grid.textMatrix(row, col);
    return out;
}

QStringList gridRow(const GestionDonnee& state, int row) {
    QStringList out;
    for (int col = 0; col < 4; ++col)
        out << state.Grid.textMatrix(row, col);
    return out;
}

QString pointText(const PointRecord& p) {
    return QStringLiteral("%1|%2|%3|%4")
        .arg(p.Matricule, QString::number(p.X, 'g', 15), QString::number(p.Y, 'g', 15),
             QString::number(p.Z, 'g', 15));
}

QStringList storedNames(const GestionDonnee& state) {
    QStringList out;
    for (int i = 0; i < int(state.PointCount); ++i)
        out << state.Points[i].Matricule;
    return out;
}

QStringList shownBoxes(const platform::ScriptedDialogs& boxes) {
    // In the order of MsgIcon and MsgButtons.
    static const char* const icons[] = {"none", "critical", "information", "question"};
    static const char* const buttons[] = {"ok", "yesno", "yesnocancel"};
    QStringList out;
    for (const platform::RecordedBox& box : boxes.boxes())
        out << box.title + QStringLiteral(": ") + box.prompt + QStringLiteral(" [") +
                   QLatin1String(icons[int(box.icon)]) + u' ' +
                   QLatin1String(buttons[int(box.buttons)]) + u']';
    return out;
}

QStringList memorySettings(const InMemorySettings& s) {
    const std::pair<const char*, const platform::Variant*> values[] = {
        {"Separateur_Lec", &s.Separateur_Lec},
        {"Separateur_Ecr", &s.Separateur_Ecr},
        {"Separateur_Autre_Lec", &s.Separateur_Autre_Lec},
        {"Separateur_Autre_Ecr", &s.Separateur_Autre_Ecr},
        {"Calque_Point", &s.Calque_Point},
        {"Calque_Matricule", &s.Calque_Matricule},
        {"Calque_Z", &s.Calque_Z},
        {"Num_Premier_Pt", &s.Num_Premier_Pt},
        {"Inc_Num", &s.Inc_Num},
        {"Num_Pt_Dxf", &s.Num_Pt_Dxf},
        {"Dxf_Format", &s.Dxf_Format},
        {"Fich_Dim", &s.Fich_Dim}};
    QStringList out;
    for (const auto& [key, value] : values)
        out << QLatin1String(key) + u'=' + value->toText();
    out << QStringLiteral("NbDec=") + s.NbDec << QStringLiteral("SepSys=%1").arg(s.SepSys);
    return out;
}

namespace {
QString exactText(double value) {
    value += 0.0;
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return QString::fromLatin1(buffer, result.ptr - buffer);
}
} // namespace

QStringList PointsAsText(const GestionDonnee& state) {
    QStringList out;
    for (int i = 0; i < static_cast<int>(state.PointCount); ++i) {
        const PointRecord& p = state.Points[i];
        out << p.Matricule + u'|' + exactText(p.X) + u'|' + exactText(p.Y) + u'|' + exactText(p.Z);
    }
    return out;
}

} // namespace testing

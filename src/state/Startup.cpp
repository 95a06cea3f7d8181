#include "state/Startup.h"

#include "platform/Dialogs.h"
#include "platform/NumberText.h"
#include "platform/SettingsStore.h"
#include "platform/TextFile.h"
#include "state/GestionDonnee.h"

#include <QFileInfo>

using namespace platform;

void LoadSettings(InMemorySettings& settings, const SettingsStore& store) {
    const QString section = sections::parametre();
    auto read = [&](const char* key, const char* defaultValue) {
        return Variant(
            store.value(section, QString::fromLatin1(key), QString::fromUtf8(defaultValue)));
    };
    // In the order of the settings table.
    settings.Separateur_Lec = read("Separateur_Lec", ",");
    settings.Separateur_Ecr = read("Separateur_Ecr", ",");
    settings.Separateur_Autre_Lec = read("Separateur_Autre_Lec", "");
    settings.Separateur_Autre_Ecr = read("Separateur_Autre_Ecr", "");
    settings.Calque_Point = read("Calque_Point", "0");
    settings.Calque_Matricule = read("Calque_Matricule", "0");
    settings.Calque_Z = read("Calque_Z", "0");
    settings.Num_Premier_Pt = read("Num_Premier_Pt", "0");
    settings.Inc_Num = read("Inc_Num", "0");
    settings.Num_Pt_Dxf = read("Num_Pt_Dxf", "1");
    settings.Dxf_Format = read("Dxf_Format", "MS");
    settings.Fich_Dim = read("Fich_Dim", "2D");

    settings.NbDec = store.value(sections::app(), QStringLiteral("NbDec"), QStringLiteral("0.000"));
    // Strict on purpose: a SepSys that is no number stops start-up.
    settings.SepSys =
        CInt(store.value(sections::app(), QStringLiteral("SepSys"), QStringLiteral("0")));
}

void LoadMainWindow(GestionDonnee& state, SettingsStore& store, MessageBoxService& messages,
                    const QString& programFolder) {
    LoadSettings(state.Settings, store);
    store.setValue(sections::app(), QStringLiteral("Path"), programFolder);
    state.DataModified = false;

    // Header row and column widths (twips) of the point list.
    static const char* const headers[] = {"Matricule", "X", "Y", "Z"};
    static const int widths[] = {1000, 1500, 1500, 1100};
    for (int col = 0; col < 4; ++col) {
        state.Grid.setTextMatrix(0, col, QString::fromLatin1(headers[col]));
        state.Grid.setColWidth(col, widths[col]);
    }

    LoadMailSettings(state, messages, programFolder);
}

void LoadMailSettings(GestionDonnee& state, MessageBoxService& messages,
                      const QString& programFolder) {
    const QString fileName = programFolder + QStringLiteral("/atm.bin");
    if (!QFileInfo::exists(fileName)) {
        messages.show(QStringLiteral("Une erreur c'est produite\r\nVous devez réinstaller Tovalin"),
                      MsgButtons::Ok, MsgIcon::Critical);
        return;
    }
    LineReader file(fileName);
    // Lines 1 to 6 hold the mail account, used only by the mail window.
    for (int line = 0; line < 6; ++line)
        file.readLine();
    state.WebSiteAddress = file.readLine();
    state.SupportAddress = file.readLine();
}

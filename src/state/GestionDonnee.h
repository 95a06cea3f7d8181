#pragma once

#include "platform/PointGridModel.h"
#include "platform/Variant.h"

#include <QString>
#include <vector>

namespace platform {
class Progress;
}

// One surveyed point, fields in the order of the point files.
struct PointRecord {
    double X = 0.0;
    double Y = 0.0;
    double Z = 0.0;
    QString Matricule;
};

// The settings of the run, read at start-up and changed by the dialogs. The
// "Paramètre" values are kept as they were read (text), but may become numbers
// (the DXF numbering counts on in memory).
struct InMemorySettings {
    platform::Variant Separateur_Lec;
    platform::Variant Separateur_Ecr;
    platform::Variant Separateur_Autre_Lec;
    platform::Variant Separateur_Autre_Ecr;
    platform::Variant Calque_Point;
    platform::Variant Calque_Matricule;
    platform::Variant Calque_Z;
    platform::Variant Num_Premier_Pt;
    platform::Variant Inc_Num;
    platform::Variant Num_Pt_Dxf;
    platform::Variant Dxf_Format;
    platform::Variant Fich_Dim;
    QString NbDec = QStringLiteral("0.000");
    int16_t SepSys = 0;
};

// The state of the whole run: the point store, its flags, the in-memory
// settings and the point list. One object, created at start-up and handed to
// the windows and commands; nothing of it is global.
class GestionDonnee {
public:
    GestionDonnee();

    // The store only grows: readers append, the editor and the numbering
    // overwrite, nothing removes. Past the last point there is always one
    // empty slot, as the store has always kept it.
    std::vector<PointRecord> Points;
    double PointCount = 0; // a whole number, held as a double

    bool DataModified = false;
    platform::Variant CurrentMatricule;
    double SelectedIndex = 0;
    int EditMode = 0;
    // The point handed to the point editor in modify mode, and the identifier
    // it had when the editor opened; they outlive the editor.
    double EditX = 0;
    double EditY = 0;
    double EditZ = 0;
    platform::Variant InitialMatricule;
    QString CurrentFileName;
    QString CurrentBaseName;
    InMemorySettings Settings;

    // Read from the mail settings file at start-up.
    QString WebSiteAddress;
    QString SupportAddress;

    // The rows of the point list: a second, looser copy of the store that the
    // commands patch row by row.
    platform::PointGridModel Grid;

    // Room for that many more points, so that a reader's appends do not copy
    // the store; it grows at least twofold.
    void ReservePoints(std::size_t more);
    // Appends a copy of the record.
    void AddPoint(const PointRecord& record);
    void AddPoint(PointRecord&& record);
    // Overwrites the record at index (rounded half to even); error 9 outside
    // the array.
    void SetPoint(const PointRecord& record, double index);

    // Rebuilds the list from the store.
    void RefreshPointList();
    // The same, telling the progress of every row built here (events are
    // processed while the list is rebuilt, as while the file is read).
    void RefreshPointList(platform::Progress& progress);
    // The rows RefreshPointList makes of the points of [begin, end), added
    // to rows; tells progress of each. Safe to run side by side over
    // different ranges.
    void AppendPointRows(std::size_t begin, std::size_t end,
                         platform::PointGridModel::RowStore& rows,
                         platform::Progress& progress) const;
    // The rows the coordinate format's rewrite gives the points of [begin,
    // end): the identifier as it stands (a tab stays inside the first cell,
    // as a cell set on its own keeps it), then the three coordinates. Safe
    // to run side by side, as AppendPointRows.
    void AppendRewrittenRows(std::size_t begin, std::size_t end,
                             platform::PointGridModel::RowStore& rows,
                             platform::Progress& progress) const;
    // Text of one coordinate for display, under NbDec (and grouping when
    // SepSys is 1).
    QString FormatCoordinate(double value) const;
    // The pattern FormatCoordinate formats with.
    QString CoordinatePattern() const;
    // The text of the point count label.
    static QString PointCountLabel(double count);

private:
    void appendRows(std::size_t begin, std::size_t end, platform::PointGridModel::RowStore& rows,
                    platform::Progress& progress, bool cutAtTabs) const;
};

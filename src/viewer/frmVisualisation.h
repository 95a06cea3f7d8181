#pragma once

#include "viewer/PointView.h"

#include <QWidget>

class QAction;
class QMenu;
class QMenuBar;
class Zone;
namespace platform {
class InputBoxService;
class MessageBoxService;
} // namespace platform

// "Visualisation des points": the points of the list on a plan, with their
// identifiers, zoomed, panned and recentred with the mouse and the menus.
// The window's controls go when it is closed; the view's fields (the
// PointView it is given) stay for the whole run.
class frmVisualisation : public QWidget {
    Q_OBJECT
public:
    frmVisualisation(PointView& view, platform::InputBoxService& input,
                     platform::MessageBoxService& messages, QWidget* parent = nullptr);

    Zone* zone() const { return Zone_; }
    // The drawing pass with the current filters; true when drawn.
    bool DrawView(int size);

protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    QAction* addItem(QMenu* menu, const char* name, const QString& caption);
    void setMode(const QString& mode);
    void recentre();
    void pressed(Qt::MouseButton button, QPointF pixel, QPoint global);
    void unload();
    void layoutZone();

    PointView& view_;
    platform::InputBoxService& input_;
    platform::MessageBoxService& messages_;
    QMenuBar* bar_ = nullptr;
    Zone* Zone_ = nullptr;
    QMenu* Mnu_Commande = nullptr;
    QAction* MnuZoomp = nullptr;
    QAction* MnuZoomm = nullptr;
    QAction* MnuAffichageSt = nullptr;
    QAction* MnuAffichagePt = nullptr;
    QAction* Mnu_Commande_Zoomp = nullptr;
    QAction* Mnu_Commande_Zoomm = nullptr;
    QAction* Mnu_Commande_Deplacement = nullptr;
    // Closed: the window goes at once, or once the pass that was processing
    // events has let go of it; it draws nothing more meanwhile.
    bool goWhenIdle_ = false;
};

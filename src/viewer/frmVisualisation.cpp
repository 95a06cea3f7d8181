#include "viewer/frmVisualisation.h"

#include "platform/CommandRunner.h"
#include "viewer/Zone.h"

#include <QApplication>
#include <QCloseEvent>
#include <QEvent>
#include <QMenu>
#include <QMenuBar>
#include <QResizeEvent>

using platform::Guarded;

frmVisualisation::frmVisualisation(PointView& view, platform::InputBoxService& input,
                                   platform::MessageBoxService& messages, QWidget* parent)
    : QWidget(parent, Qt::Window), view_(view), input_(input), messages_(messages) {
    setObjectName(QStringLiteral("frmVisualisation"));
    setWindowTitle(QStringLiteral("Visualisation des points"));
    bar_ = new QMenuBar(this);

    QMenu* zoom = bar_->addMenu(QStringLiteral("Zoom"));
    zoom->setObjectName(QStringLiteral("MnuZoom"));
    MnuZoomp = addItem(zoom, "MnuZoomp", QStringLiteral("Zoom +"));
    MnuZoomm = addItem(zoom, "MnuZoomm", QStringLiteral("Zoom -"));
    // Never checked, in any mode: only its twin of the context menu is.
    QAction* pan = addItem(zoom, "MnuDeplacement", QStringLiteral("Déplacement"));
    pan->setCheckable(false);
    QAction* recentreItem = addItem(zoom, "MnuRecentrer", QStringLiteral("Recentrer"));
    recentreItem->setCheckable(false);

    QMenu* point = bar_->addMenu(QStringLiteral("Point"));
    point->setObjectName(QStringLiteral("MnuPoint"));
    QAction* pointSize = addItem(point, "MnuPointTaille", QStringLiteral("Taille des points"));
    QAction* labelSize =
        addItem(point, "MnuPointMatricule", QStringLiteral("Taille des matricules"));
    pointSize->setCheckable(false);
    labelSize->setCheckable(false);

    QMenu* show = bar_->addMenu(QStringLiteral("Affichage"));
    show->setObjectName(QStringLiteral("MnuAffichage"));
    MnuAffichageSt = addItem(show, "MnuAffichageSt", QStringLiteral("des stations"));
    MnuAffichagePt = addItem(show, "MnuAffichagePt", QStringLiteral("des points"));
    MnuAffichageSt->setChecked(true);
    MnuAffichagePt->setChecked(true);

    Mnu_Commande = new QMenu(QStringLiteral("Commande"), this);
    Mnu_Commande->setObjectName(QStringLiteral("Mnu_Commande"));
    Mnu_Commande_Zoomp = addItem(Mnu_Commande, "Mnu_Commande_Zoomp", QStringLiteral("Zoom +"));
    Mnu_Commande_Zoomm = addItem(Mnu_Commande, "Mnu_Commande_Zoomm", QStringLiteral("Zoom -"));
    Mnu_Commande->addSeparator();
    // Spelt so on purpose: it is the program's own caption.
    Mnu_Commande_Deplacement =
        addItem(Mnu_Commande, "Mnu_Commande_Deplacement", QStringLiteral("Déplacerment"));
    QAction* centre = addItem(Mnu_Commande, "Mnu_Commande_Centrer", QStringLiteral("Centrer"));
    centre->setCheckable(false);

    // Every command of the window runs guarded: an error ends it with the
    // report and the window goes on.
    const auto on = [this](QAction* item, auto body) {
        connect(item, &QAction::triggered, this, Guarded(messages_, std::move(body)));
    };
    for (QAction* item : {MnuZoomp, Mnu_Commande_Zoomp})
        on(item, [this] { setMode(viewmode::zoomIn()); });
    for (QAction* item : {MnuZoomm, Mnu_Commande_Zoomm})
        on(item, [this] { setMode(viewmode::zoomOut()); });
    for (QAction* item : {pan, Mnu_Commande_Deplacement})
        on(item, [this] { setMode(viewmode::pan()); });
    for (QAction* item : {recentreItem, centre})
        on(item, [this] { recentre(); });
    on(pointSize, [this] {
        AskPointSize(view_, input_);
        DrawView(view_.pointSize);
    });
    on(labelSize, [this] {
        AskLabelSize(view_, input_);
        DrawView(view_.pointSize);
    });
    // Each filter flips its own check mark (checkable) and redraws.
    for (QAction* item : {MnuAffichageSt, MnuAffichagePt})
        on(item, [this] { DrawView(view_.pointSize); });

    Zone_ = new Zone(this);
    connect(Zone_, &Zone::pressed, this,
            Guarded(messages_, [this](Qt::MouseButton button, QPointF pixel, QPoint global) {
                pressed(button, pixel, global);
            }));
    resize(640, 480);
}

QAction* frmVisualisation::addItem(QMenu* menu, const char* name, const QString& caption) {
    QAction* action = menu->addAction(caption);
    action->setObjectName(QString::fromLatin1(name));
    action->setCheckable(true);
    return action;
}

bool frmVisualisation::DrawView(int size) {
    // A closed window starts no pass: its deletion may come in any batch of
    // events a pass lets through, and the pass would return into it.
    if (goWhenIdle_)
        return false;
    const bool drawn =
        Zone_->DrawView(view_, size, MnuAffichagePt->isChecked(), MnuAffichageSt->isChecked());
    if (goWhenIdle_ && !Zone_->busy())
        deleteLater();
    return drawn;
}

void frmVisualisation::setMode(const QString& mode) {
    // Only arms the next click: nothing is redrawn.
    view_.navigationMode = mode;
    const bool in = mode == viewmode::zoomIn();
    const bool out = mode == viewmode::zoomOut();
    MnuZoomp->setChecked(in);
    Mnu_Commande_Zoomp->setChecked(in);
    MnuZoomm->setChecked(out);
    Mnu_Commande_Zoomm->setChecked(out);
    Mnu_Commande_Deplacement->setChecked(mode == viewmode::pan());
}

void frmVisualisation::recentre() {
    Recentre(view_);
    DrawView(view_.pointSize);
}

void frmVisualisation::pressed(Qt::MouseButton button, QPointF pixel, QPoint global) {
    QApplication::restoreOverrideCursor();
    if (button == Qt::RightButton) {
        Mnu_Commande->popup(global);
        return;
    }
    if (button != Qt::LeftButton)
        return;
    const QPointF world = Zone_->worldAt(pixel);
    ClickAt(view_, float(world.x()), float(world.y()), Zone_->drawnWindow());
    DrawView(view_.pointSize);
}

bool frmVisualisation::event(QEvent* event) {
    if (event->type() == QEvent::WindowActivate)
        platform::RunCommand(messages_, [this] { DrawView(view_.pointSize); });
    return QWidget::event(event);
}

void frmVisualisation::closeEvent(QCloseEvent* event) {
    // The window is unloaded when closed. A pass that is processing events
    // still draws on it: it is stopped, and the window goes when it has
    // returned, never under it.
    event->accept();
    platform::RunCommand(messages_, [this] { unload(); });
}

void frmVisualisation::unload() {
    goWhenIdle_ = true;
    if (Zone_->busy())
        Zone_->stop();
    else
        deleteLater();
}

void frmVisualisation::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    platform::RunCommand(messages_, [this] { layoutZone(); });
}

void frmVisualisation::layoutZone() {
    // 690 and 120 twips (46 and 8 pixels) are the frame and menu allowances
    // of the window's outer size; a smaller window leaves Zone as it is. The
    // view is redrawn when the window is next activated, not here.
    const QRect outer = frameGeometry();
    const int top = bar_->sizeHint().height();
    bar_->setGeometry(0, 0, width(), top);
    if (outer.height() > 46 && outer.width() > 8)
        Zone_->setGeometry(0, top, outer.width() - 8, outer.height() - 46);
}

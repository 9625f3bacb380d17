#pragma once

#include "browser/commandpalette.h"
#include "core/command/command.h"

#include <QHash>
#include <QObject>

#include <functional>
#include <vector>

class ChosenList;
class QAction;
class QMenu;
class QMenuBar;
class QPushButton;
struct TarnwellControls;

// Offers the rows of the rooms' tables of commands: by their buttons, their keys, a menu bar, the context
// menus of the lists and the palette. A new row needs no other place. What cannot be used now is grey, and
// its tip says why.
class CommandMenus : public QObject {
    Q_OBJECT

public:
    // All outlive it.
    CommandMenus(QWidget &window, const Session &session, const TarnwellControls &controls);

    // The button of the row's id carries the command out when it is clicked, and where there is one, every
    // other way is a click on it.
    void add(const CommandRow &row, std::function<void()> carryOut);
    // Called once, after the last row. The menus are filled when they are first opened.
    QMenuBar *makeMenuBar();
    // More entries at the end of a menu, made each time it is opened.
    void extend(Menu place, std::function<void(QMenu &menu)> addTo);
    // The buttons of what a read-only connection cannot do; they stay so.
    void turnWritingOff();
    void addContextMenu(ChosenList &list, std::function<bool(const CommandRow &row)> belongsTo);
    std::vector<PaletteEntry> paletteEntries() const;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Offer {
        CommandRow row;
        QPushButton *button; // null: none
        QAction *action;
    };

    Needs given() const;
    // Empty: it can be used now.
    QString reasonAgainst(const Offer &offer) const;
    void fill(QMenu &menu, Menu place);
    void showContextMenu(ChosenList &list, const std::function<bool(const CommandRow &row)> &belongsTo,
                         const QPoint &position);
    void open(QMenu &menu);

    QWidget &m_window;
    const Session &m_session;
    const TarnwellControls &m_controls;
    QHash<QString, QPushButton *> m_buttons; // of the window, by name
    std::vector<Offer> m_offers;
    std::vector<std::pair<Menu, std::function<void(QMenu &)>>> m_extensions;
};

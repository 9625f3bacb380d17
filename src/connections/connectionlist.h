#pragma once

#include "core/session/connectionprofile.h"

#include <QTreeWidget>

#include <vector>

// The saved connections by name, each with its colour: those of no folder first, then folder by folder.
class ConnectionList : public QTreeWidget {
    Q_OBJECT

public:
    ConnectionList();

    // Anew, with that one chosen, or else the first that the filter lets through.
    void fill(const std::vector<ConnectionProfile> &profiles, const QString &idToChoose);
    // The one of that id as it is now; its place stays until it is filled anew.
    void describe(const ConnectionProfile &profile);
    // One that is hidden by it stays the chosen one only where all are.
    void filter(const QString &text);
    QString chosenId() const; // empty: none
    bool showsChosen() const;
    QStringList folders() const;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QTreeWidgetItem *folderItem(const QString &folder);
    QTreeWidgetItem *firstSeen() const;
    QTreeWidgetItem *find(const QString &id) const;
    std::vector<QTreeWidgetItem *> connections() const;

    QString m_filter;
};

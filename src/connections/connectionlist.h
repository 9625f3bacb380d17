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
    void filter(const QString &text);
    QString chosenId() const; // empty: none
    QStringList folders() const;

private:
    QTreeWidgetItem *folderItem(const QString &folder);
    QTreeWidgetItem *find(const QString &id) const;
    std::vector<QTreeWidgetItem *> connections() const;

    QString m_filter;
};

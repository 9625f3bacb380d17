#pragma once

#include "server/load/statusreading.h"
#include "server/serverpage.h"

#include <QSet>

class KeyedList;
class QCheckBox;

// Every status value of the server, and by how much it changes in a second.
class StatusPage : public ServerPage {
    Q_OBJECT

public:
    explicit StatusPage(const ServerSurroundings &around);

protected:
    void refresh() override;

private:
    void show(StatusSample sample);

    // Used in the connection's thread alone.
    const std::shared_ptr<StatusReader> m_reader = std::make_shared<StatusReader>();
    KeyedList *m_list;
    QCheckBox *m_onlyChanging;
    StatusSample m_last;
    QSet<QString> m_changed; // since the page was first shown
};

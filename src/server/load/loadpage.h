#pragma once

#include "server/load/loadhistory.h"
#include "server/serverpage.h"

class QScrollArea;

// The server's load of the last ten minutes as lines. It is gathered whatever page is shown.
class LoadPage : public ServerPage {
    Q_OBJECT

public:
    explicit LoadPage(const ServerSurroundings &around);
    bool gathers() const override { return true; }
    const LoadHistory &history() const { return m_history; }

protected:
    void refresh() override;
    void showEvent(QShowEvent *event) override;

private:
    void makePlots();
    void showPlots();

    // Used in the connection's thread alone.
    const std::shared_ptr<StatusReader> m_reader = std::make_shared<StatusReader>();
    LoadHistory m_history;
    QScrollArea *m_area;
    std::vector<Plot *> m_plots; // none before they are first looked at
    QString m_whyNone;
};

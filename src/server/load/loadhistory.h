#pragma once

#include "server/load/plot.h"
#include "server/load/statusreading.h"

#include <optional>
#include <vector>

// What the status values of the last minutes say of a server's load: a plot for each thing that is watched.
class LoadHistory {
public:
    static constexpr qint64 span = 10 * 60 * 1000; // milliseconds that are kept

    LoadHistory();

    // A sample that follows the last one; after a pause, or where the server was started anew, lines begin
    // anew with a gap.
    void add(const StatusSample &sample);

    int plotCount() const { return static_cast<int>(m_lines.size()); }
    static PlotCaption caption(int plot);
    const std::vector<PlotLine> &lines(int plot) const { return m_lines[static_cast<std::size_t>(plot)]; }
    // Whether there was anything to see; a server that replicates from none has no delay.
    bool hasValues(int plot) const;
    qint64 lastTime() const { return m_last ? m_last->time : 0; }

private:
    std::vector<std::vector<PlotLine>> m_lines; // of the plots
    std::optional<StatusSample> m_last;
};

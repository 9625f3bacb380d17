#include "server/load/loadhistory.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace {

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();

enum class Meaning {
    Value,     // as it stands
    PerSecond, // the sum of counters, by how much it grows
    HitRate,   // of the first counter, how much was found without the second: in percent
    Delay      // of a replica
};

struct LineRow {
    QStringView name;
    Meaning meaning;
    QStringView counters; // separated by blanks
    double unit = 1;      // what one of the plot's units is
};

struct PlotRow {
    QStringView title, unit;
    double highest;
    std::vector<LineRow> lines;
};

const std::array<PlotRow, 8> &plots()
{
    // InnoDB's own counts of rows: those of the handlers count what SHOW STATUS itself reads.
    static const std::array<PlotRow, 8> rows{{
        {u"問い合わせ", u"/秒", 0, {{u"問い合わせ", Meaning::PerSecond, u"Questions"}}},
        {u"InnoDB の行",
         u"/秒",
         0,
         {{u"読んだ行", Meaning::PerSecond, u"Innodb_rows_read"},
          {u"書いた行", Meaning::PerSecond,
           u"Innodb_rows_inserted Innodb_rows_updated Innodb_rows_deleted"}}},
        {u"接続", u"", 0, {{u"接続数", Meaning::Value, u"Threads_connected"}}},
        {u"実行中のスレッド", u"", 0, {{u"実行中", Meaning::Value, u"Threads_running"}}},
        {u"バッファプール",
         u"%",
         100,
         {{u"ヒット率", Meaning::HitRate, u"Innodb_buffer_pool_read_requests Innodb_buffer_pool_reads"}}},
        {u"ネットワーク",
         u"KB/秒",
         0,
         {{u"受信", Meaning::PerSecond, u"Bytes_received", 1024},
          {u"送信", Meaning::PerSecond, u"Bytes_sent", 1024}}},
        {u"一時テーブル",
         u"/秒",
         0,
         {{u"メモリ", Meaning::PerSecond, u"Created_tmp_tables"},
          {u"ディスク", Meaning::PerSecond, u"Created_tmp_disk_tables"}}},
        {u"レプリケーションの遅れ", u"秒", 0, {{u"遅れ", Meaning::Delay, u""}}},
    }};
    return rows;
}

double sum(const StatusSample &sample, const QStringList &counters)
{
    double total = 0;
    for (const QString &counter : counters)
        total += sample.number(counter);
    return total;
}

// How many of the requests of the time between did not need the disk.
double hitRate(const StatusSample &before, const StatusSample &now, const QStringList &counters)
{
    const double requests = now.number(counters[0]) - before.number(counters[0]);
    const double misses = now.number(counters[1]) - before.number(counters[1]);
    return requests > 0 ? std::max(0.0, 100 * (1 - misses / requests)) : requests == 0 ? 100 : unknown;
}

double valueOf(const LineRow &line, const StatusSample *before, const StatusSample &now)
{
    const QStringList counters = line.counters.toString().split(u' ', Qt::SkipEmptyParts);
    if (line.meaning == Meaning::Value)
        return now.number(counters.first());
    if (line.meaning == Meaning::Delay)
        return now.replicationDelay.value_or(unknown);
    if (!before)
        return unknown;
    if (line.meaning == Meaning::HitRate)
        return hitRate(*before, now, counters);
    const double seconds = static_cast<double>(now.time - before->time) / 1000;
    return std::max(0.0, sum(now, counters) - sum(*before, counters)) / seconds / line.unit;
}

// Without readings in between nothing is known of the time, and the counters of a new start are others.
bool follows(const StatusSample &before, const StatusSample &now)
{
    constexpr qint64 longestPause = 130'000; // milliseconds: two of the longest intervals
    const QString uptime = QStringLiteral("Uptime");
    return now.time > before.time && now.time - before.time < longestPause &&
           !(now.number(uptime) < before.number(uptime));
}

} // namespace

LoadHistory::LoadHistory()
{
    for (const PlotRow &plot : plots()) {
        m_lines.emplace_back();
        for (const LineRow &line : plot.lines)
            m_lines.back().push_back({line.name.toString(), {}});
    }
}

PlotCaption LoadHistory::caption(int plot)
{
    const PlotRow &row = plots()[static_cast<std::size_t>(plot)];
    return {row.title.toString(), row.unit.toString(), row.highest};
}

void LoadHistory::add(const StatusSample &sample)
{
    const bool isNext = m_last && follows(*m_last, sample);
    const auto time = static_cast<double>(sample.time);
    for (std::size_t plot = 0; plot < m_lines.size(); ++plot)
        for (std::size_t line = 0; line < m_lines[plot].size(); ++line) {
            QList<QPointF> &points = m_lines[plot][line].points;
            if (m_last && !isNext)
                points.append({static_cast<double>(m_last->time), unknown});
            points.append({time, valueOf(plots()[plot].lines[line], isNext ? &*m_last : nullptr, sample)});
            const auto firstKept = std::ranges::find_if(points, [time](const QPointF &point) {
                return point.x() >= time - static_cast<double>(span);
            });
            points.erase(points.begin(), firstKept);
        }
    m_last = sample;
}

bool LoadHistory::hasValues(int plot) const
{
    return std::ranges::any_of(lines(plot), [](const PlotLine &line) {
        return std::ranges::any_of(line.points, [](const QPointF &point) { return !std::isnan(point.y()); });
    });
}

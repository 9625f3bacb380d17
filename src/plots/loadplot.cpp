#include "plots/loadplot.h"

#include <QChart>
#include <QDateTime>
#include <QDateTimeAxis>
#include <QEvent>
#include <QKeyEvent>
#include <QLineSeries>
#include <QLocale>
#include <QVBoxLayout>
#include <QValueAxis>

#include <algorithm>
#include <cmath>

namespace {

// The next of 1, 2, 5, 10, 20, 50 ... at or above.
double roundedUp(double value)
{
    if (value <= 1)
        return 1;
    const double power = std::pow(10, std::floor(std::log10(value)));
    for (const double step : {1.0, 2.0, 5.0})
        if (value <= step * power)
            return step * power;
    return 10 * power;
}

QString numberText(double value)
{
    return QLocale().toString(value, 'f',
                              value >= 100 || value == std::floor(value) ? 0
                              : value >= 10                              ? 1
                                                                         : 2);
}

// Without the gaps: each piece is a line of its own, since Qt Charts 6.4 knows no gaps.
std::vector<QList<QPointF>> piecesOf(const QList<QPointF> &points)
{
    std::vector<QList<QPointF>> pieces(1);
    for (const QPointF &point : points)
        if (!std::isnan(point.y()))
            pieces.back().append(point);
        else if (!pieces.back().isEmpty())
            pieces.emplace_back();
    return pieces;
}

} // namespace

PlotView::PlotView(QChart *chart, QWidget *parent)
    : QChartView(chart, parent)
{
    setRenderHint(QPainter::Antialiasing);
    setFrameShape(NoFrame);
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setMinimumHeight(110);
}

void PlotView::setMarks(const QList<QPointF> &marks)
{
    if (m_marks == marks)
        return;
    m_marks = marks;
    viewport()->update();
}

void PlotView::mouseMoveEvent(QMouseEvent *event)
{
    QChartView::mouseMoveEvent(event);
    const QPointF place = chart()->mapFromScene(mapToScene(event->pos()));
    if (chart()->plotArea().contains(place))
        Q_EMIT pointedAt(chart()->mapToValue(place).x());
    else
        Q_EMIT left();
}

void PlotView::leaveEvent(QEvent *event)
{
    QChartView::leaveEvent(event);
    Q_EMIT left();
}

void PlotView::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Left || event->key() == Qt::Key_Right)
        Q_EMIT stepped(event->key() == Qt::Key_Left ? -1 : 1);
    else if (event->key() == Qt::Key_Escape)
        Q_EMIT left();
    else
        QChartView::keyPressEvent(event);
}

void PlotView::drawForeground(QPainter *painter, const QRectF &rect)
{
    QChartView::drawForeground(painter, rect);
    const QRectF area = chart()->plotArea();
    painter->setPen(QPen(palette().color(QPalette::Text), 0, Qt::DashLine));
    for (const QPointF &mark : m_marks) {
        const QPointF place = chart()->mapToPosition(mark);
        if (!area.contains(place))
            continue;
        painter->drawLine(QPointF(place.x(), area.top()), QPointF(place.x(), area.bottom()));
        painter->drawLine(QPointF(area.left(), place.y()), QPointF(area.right(), place.y()));
    }
}

LoadPlot::LoadPlot(PlotCaption caption, std::function<void(qint64)> pointed)
    : m_caption(std::move(caption))
    , m_pointed(std::move(pointed))
    , m_words(new QLabel)
    , m_chart(new QChart)
    , m_view(new PlotView(m_chart, this))
    , m_times(new QDateTimeAxis(this))
    , m_values(new QValueAxis(this))
{
    m_words->setTextFormat(Qt::RichText);
    m_chart->legend()->hide();
    m_chart->setMargins({});
    m_chart->setBackgroundRoundness(0);
    m_chart->setLocalizeNumbers(true);
    m_times->setFormat(QStringLiteral("h:mm"));
    m_times->setTickCount(6);
    m_values->setTickCount(3);
    m_values->setLabelFormat(QStringLiteral("%.0f"));
    m_chart->addAxis(m_times, Qt::AlignBottom);
    m_chart->addAxis(m_values, Qt::AlignLeft);
    m_view->setAccessibleName(m_caption.title);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->setSpacing(0);
    layout->addWidget(m_words);
    layout->addWidget(m_view, 1);
    connect(m_view, &PlotView::pointedAt, this, [this](qreal x) { m_pointed(static_cast<qint64>(x)); });
    connect(m_view, &PlotView::left, this, [this] { m_pointed(0); });
    connect(m_view, &PlotView::stepped, this, &LoadPlot::step);
    applyColours();
    // An axis that is laid out without a range or a line never shows its labels (Qt Charts 6.4).
    const QDateTime now = QDateTime::currentDateTime();
    m_times->setRange(now.addSecs(-1), now);
    m_pieces.resize(1);
    piece(0, 0);
}

QColor LoadPlot::lineColour(std::size_t line) const
{
    const bool isDark = palette().color(QPalette::Base).lightness() < 128;
    return line == 0 ? QColor(isDark ? 0x6cb2ff : 0x1667c0) : QColor(isDark ? 0xffb057 : 0xb85c00);
}

void LoadPlot::applyColours()
{
    const QColor text = palette().color(QPalette::Text);
    QColor grid = text;
    grid.setAlphaF(0.18F);
    m_chart->setBackgroundBrush(palette().color(QPalette::Base));
    m_chart->setBackgroundPen(Qt::NoPen);
    m_view->setBackgroundBrush(palette().color(QPalette::Base));
    for (QAbstractAxis *axis : std::initializer_list<QAbstractAxis *>{m_times, m_values}) {
        axis->setLabelsBrush(text);
        axis->setLabelsFont(font());
        axis->setGridLinePen(QPen(grid, 1));
        axis->setLinePen(QPen(grid, 1));
    }
    for (std::size_t line = 0; line < m_pieces.size(); ++line)
        for (QLineSeries *each : m_pieces[line])
            each->setPen(QPen(lineColour(line), 1.6, line == 0 ? Qt::SolidLine : Qt::DashLine));
}

void LoadPlot::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) {
        applyColours();
        showValues();
    }
}

QLineSeries *LoadPlot::piece(std::size_t line, std::size_t number)
{
    std::vector<QLineSeries *> &pieces = m_pieces[line];
    if (number == pieces.size()) {
        pieces.push_back(new QLineSeries(m_chart));
        m_chart->addSeries(pieces.back());
        pieces.back()->attachAxis(m_times);
        pieces.back()->attachAxis(m_values);
        applyColours();
    }
    return pieces[number];
}

void LoadPlot::show(const std::vector<PlotLine> &lines, qint64 from, qint64 to)
{
    m_lines = lines;
    m_pieces.resize(std::max(lines.size(), m_pieces.size()));
    m_times->setRange(QDateTime::fromMSecsSinceEpoch(from), QDateTime::fromMSecsSinceEpoch(to));
    showLines();
    showValues();
}

void LoadPlot::showLines()
{
    double highest = m_caption.highest;
    for (std::size_t line = 0; line < m_lines.size(); ++line) {
        const std::vector<QList<QPointF>> pieces = piecesOf(m_lines[line].points);
        for (std::size_t i = 0; i < std::max(pieces.size(), m_pieces[line].size()); ++i)
            piece(line, i)->replace(i < pieces.size() ? pieces[i] : QList<QPointF>());
        if (m_caption.highest > 0)
            continue;
        for (const QPointF &point : m_lines[line].points)
            if (!std::isnan(point.y()))
                highest = std::max(highest, roundedUp(point.y()));
    }
    const double top = std::max(highest, 1.0);
    // Each time that it is set, the same one too, all is laid out anew.
    if (const QString format = top < 2 ? QStringLiteral("%.1f") : QStringLiteral("%.0f");
        m_values->labelFormat() != format)
        m_values->setLabelFormat(format);
    m_values->setRange(0, top);
}

const QPointF *LoadPlot::pointAt(const PlotLine &line, qint64 time) const
{
    if (line.points.isEmpty())
        return nullptr;
    const auto next = std::ranges::upper_bound(line.points, static_cast<double>(time), {}, &QPointF::x);
    const QPointF &point = next == line.points.begin() ? *next : *(next - 1);
    return std::isnan(point.y()) ? nullptr : &point;
}

void LoadPlot::setCrosshair(qint64 time)
{
    m_crosshair = time;
    showValues();
}

void LoadPlot::showValues()
{
    QString words = QStringLiteral("<b>%1</b>").arg(m_caption.title);
    QString plain;
    QList<QPointF> marks;
    for (std::size_t line = 0; line < m_lines.size(); ++line) {
        const PlotLine &shown = m_lines[line];
        const QPointF *point = m_crosshair != 0         ? pointAt(shown, m_crosshair)
                               : shown.points.isEmpty() ? nullptr
                                                        : &shown.points.last();
        const QString value = point && !std::isnan(point->y())
                                  ? numberText(point->y()) + u' ' + m_caption.unit
                                  : QStringLiteral("－");
        words += QStringLiteral("　<span style=\"color:%1\">%2</span> %3 %4")
                     .arg(lineColour(line).name(), line == 0 ? QStringLiteral("━") : QStringLiteral("╍"),
                          shown.name, value);
        plain += shown.name + u' ' + value + u' ';
        if (m_crosshair != 0 && point)
            marks << *point;
    }
    if (m_crosshair != 0)
        words += QStringLiteral("　(%1)").arg(
            QDateTime::fromMSecsSinceEpoch(m_crosshair).toString(QStringLiteral("h:mm:ss")));
    m_words->setText(words);
    m_view->setAccessibleDescription(plain);
    m_view->setMarks(marks);
}

// From the newest time on, or from the crosshair.
void LoadPlot::step(int direction)
{
    if (m_lines.empty() || m_lines.front().points.isEmpty())
        return;
    const QList<QPointF> &points = m_lines.front().points;
    const auto at = std::ranges::lower_bound(points, static_cast<double>(m_crosshair), {}, &QPointF::x);
    const qsizetype now = m_crosshair == 0 ? points.size() : at - points.begin();
    m_pointed(static_cast<qint64>(points[std::clamp<qsizetype>(now + direction, 0, points.size() - 1)].x()));
}

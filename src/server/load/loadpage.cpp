#include "server/load/loadpage.h"

#include "controls/window/building.h"
#include "core/session/modules.h"

#include <QGridLayout>
#include <QScrollArea>
#include <QVBoxLayout>

LoadPage::LoadPage(const ServerSurroundings &around)
    : ServerPage(around, "loadPage", QStringLiteral("負荷"))
    , m_area(made<QScrollArea>("serverPlots"))
{
    m_area->setWidgetResizable(true);
    m_area->setFrameShape(QFrame::NoFrame);
    m_area->setAccessibleName(QStringLiteral("最近 10 分の負荷"));
    content()->addWidget(m_area, 1);
}

void LoadPage::refresh()
{
    ask([reader = m_reader](Session &session) { return reader->readWithDelay(session); },
        [this](const StatusSample &sample) {
            m_history.add(sample);
            tellProblem(
                sample.stoppedReplication.isEmpty()
                    ? QString()
                    : QStringLiteral("「%1」からのレプリケーションが動いていないので、遅れは分かりません。"
                                     "「レプリケーションとログ」で理由が分かります。")
                          .arg(visibleName(sample.stoppedReplication)));
            if (isVisible())
                showPlots();
        });
}

void LoadPage::showEvent(QShowEvent *event)
{
    ServerPage::showEvent(event);
    if (m_plots.empty() && m_whyNone.isEmpty())
        makePlots();
    showPlots();
}

void LoadPage::makePlots()
{
    auto *module = qobject_cast<PlotModule *>(loadModule(QStringLiteral("tarnwell_plots"), m_whyNone));
    if (!module)
        return;
    auto *plots = new QWidget;
    auto *layout = new QGridLayout(plots);
    layout->setContentsMargins({});
    for (int i = 0; i < m_history.plotCount(); ++i) {
        m_plots.push_back(module->make(LoadHistory::caption(i), [this](qint64 time) {
            for (Plot *plot : m_plots)
                plot->setCrosshair(time);
        }));
        m_plots.back()->widget()->setObjectName(QStringLiteral("plot_%1").arg(i));
        layout->addWidget(m_plots.back()->widget(), i / 2, i % 2);
    }
    m_area->setWidget(plots);
}

void LoadPage::showPlots()
{
    if (m_plots.empty()) {
        tellProblem(QStringLiteral("グラフを表示できません: ") + m_whyNone);
        return;
    }
    const qint64 to = m_history.lastTime();
    for (int i = 0; i < m_history.plotCount(); ++i) {
        Plot *plot = m_plots[static_cast<std::size_t>(i)];
        // Of what every server has only the delay may be missing.
        const bool isLast = i + 1 == m_history.plotCount();
        plot->widget()->setVisible(!isLast || m_history.hasValues(i));
        plot->show(m_history.lines(i), to - LoadHistory::span, to);
    }
}

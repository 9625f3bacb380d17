#include "plots/loadplot.h"

class Plots : public QObject, public PlotModule {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "tarnwell.PlotModule/1")
    Q_INTERFACES(PlotModule)

public:
    Plot *make(const PlotCaption &caption, std::function<void(qint64)> pointed) override
    {
        return new LoadPlot(caption, std::move(pointed));
    }
};

#include "plotsmodule.moc"

#include "structure/diagram/diagramwindow.h"

#include "controls/lists/filterline.h"
#include "controls/window/building.h"
#include "controls/window/serverstrip.h"
#include "controls/window/stopping.h"
#include "controls/window/windowsize.h"
#include "core/command/writing.h"
#include "core/session/wholefile.h"
#include "structure/diagram/diagramview.h"

#include <QBuffer>
#include <QCheckBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QPushButton>
#include <QSplitter>
#include <QTimer>
#include <QVBoxLayout>

DiagramWindow::DiagramWindow(const Session &session, const QString &database, const QString &table)
    : m_settingsFile(session.gIniPath)
    , m_database(database)
    , m_link(std::make_unique<ServerLink>(session))
    , m_tables(made<QListWidget>("diagramTables"))
    , m_neighbours(made<QCheckBox>("diagramNeighbours", QStringLiteral("隣のテーブルも(&N)")))
    , m_columns(made<QCheckBox>("diagramColumns", QStringLiteral("列も表示(&C)")))
    , m_view(new DiagramView("diagramView"))
    , m_larger(made<QPushButton>("zoomIn", QStringLiteral("拡大")))
    , m_smaller(made<QPushButton>("zoomOut", QStringLiteral("縮小")))
    , m_fit(made<QPushButton>("zoomFit", QStringLiteral("全体(&A)")))
    , m_save(made<QPushButton>("saveDiagram", QStringLiteral("保存(&S)...")))
    , m_state(made<QLabel>("diagramState"))
    , m_pause(new QTimer(this))
{
    setObjectName(QStringLiteral("diagramWindow"));
    setWindowTitle(QStringLiteral("図 %1 %2").arg(visibleName(database), serverName(session)));
    setAttribute(Qt::WA_DeleteOnClose);
    setWorksWhileRunning(this); // on a connection of its own, in another thread
    buildLayout();
    connectControls();
    showServer(*this, session.profile);
    restoreSize(*this, m_settingsFile, sizeKey, standardSize);
    read(table);
}

DiagramWindow::~DiagramWindow()
{
    stopLayout();
}

void DiagramWindow::buildLayout()
{
    m_tables->setAccessibleName(QStringLiteral("図にするテーブル"));
    m_tables->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_columns->setChecked(true);
    m_state->setTextFormat(Qt::PlainText);
    m_state->setWordWrap(true);
    m_save->setEnabled(false);
    auto *left = new QWidget;
    auto *lines = new QVBoxLayout(left);
    lines->setContentsMargins({});
    auto *filter = made<FilterLine>("diagramTables_Filter", *m_tables);
    filter->setAccessibleName(QStringLiteral("テーブルの絞り込み"));
    for (QWidget *widget : std::initializer_list<QWidget *>{filter, m_tables, m_neighbours, m_columns})
        lines->addWidget(widget);
    auto *split = new QSplitter(Qt::Horizontal);
    split->addWidget(left);
    split->addWidget(m_view);
    split->setChildrenCollapsible(false);
    split->setStretchFactor(1, 1);
    split->setSizes({200, 800});
    auto *bottom = new QHBoxLayout;
    bottom->addWidget(m_state, 1);
    for (QPushButton *button : {m_smaller, m_larger, m_fit, m_save})
        bottom->addWidget(button);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(split, 1);
    layout->addLayout(bottom);
}

void DiagramWindow::connectControls()
{
    m_pause->setSingleShot(true);
    m_pause->setInterval(200);
    connect(m_pause, &QTimer::timeout, this, &DiagramWindow::layOut);
    const auto wait = [this] { m_pause->start(); };
    connect(m_tables, &QListWidget::itemSelectionChanged, this, wait);
    connect(m_neighbours, &QCheckBox::toggled, this, wait);
    connect(m_columns, &QCheckBox::toggled, this, wait);
    connect(m_larger, &QPushButton::clicked, this, [this] { m_view->zoom(1.25); });
    connect(m_smaller, &QPushButton::clicked, this, [this] { m_view->zoom(0.8); });
    connect(m_fit, &QPushButton::clicked, m_view, &DiagramView::fit);
    connect(m_save, &QPushButton::clicked, this, &DiagramWindow::save);
    connect(&m_dot, &QProcess::finished, this, &DiagramWindow::takeLayout);
    connect(&m_dot, &QProcess::errorOccurred, this, &DiagramWindow::tellMissing);
    connect(m_tables, &QListWidget::itemActivated, this,
            [this](const QListWidgetItem *item) { Q_EMIT opened(m_database, item->text()); });
    connect(m_view, &DiagramView::opened, this, [this](const QString &table) {
        const auto dot = table.indexOf(u'.');
        if (m_tables->findItems(table, Qt::MatchExactly).isEmpty() && dot > 0)
            Q_EMIT opened(table.left(dot), table.mid(dot + 1));
        else
            Q_EMIT opened(m_database, table);
    });
}

void DiagramWindow::read(const QString &table)
{
    m_state->setText(QStringLiteral("読み込み中…"));
    m_link->ask(
        *this, [database = m_database](Session &session) { return readDiagram(session, database); },
        [this, table](const Diagram &diagram) {
            m_all = diagram;
            listTables(table);
        },
        [this](const Failure &failure) { m_state->setText(failure.description()); });
}

// Tables of other databases are neighbours only.
void DiagramWindow::listTables(const QString &table)
{
    for (const DiagramTable &each : m_all.tables)
        if (!each.columns.isEmpty())
            m_tables->addItem(each.name);
    const QList<QListWidgetItem *> wanted = m_tables->findItems(table, Qt::MatchExactly);
    m_neighbours->setChecked(!wanted.isEmpty());
    if (wanted.isEmpty())
        m_tables->selectAll();
    else
        m_tables->setCurrentItem(wanted.first());
    m_pause->start();
}

void DiagramWindow::layOut()
{
    stopLayout();
    QSet<QString> chosen;
    for (const QListWidgetItem *item : m_tables->selectedItems())
        chosen << item->text();
    m_part = partOf(m_all, chosen, m_neighbours->isChecked());
    m_save->setEnabled(false);
    if (m_part.tables.empty()) {
        m_view->showDiagram({});
        return m_state->setText(QStringLiteral("図にするテーブルを選んで下さい。"));
    }
    m_state->setText(QStringLiteral("配置中…　Esc で中止します"));
    m_strip.reset();
    startLayout(false);
}

void DiagramWindow::startLayout(bool isRound)
{
    m_dot.start(QStringLiteral("dot"), dotArguments(isRound, m_part.tables.size()));
    m_dot.write(dotGraph(m_part, m_view->measure(m_columns->isChecked())));
    m_dot.closeWriteChannel();
}

void DiagramWindow::takeLayout()
{
    const auto diagram = placed(m_part, m_dot.readAllStandardOutput(), m_columns->isChecked());
    if (diagram && !m_strip && isStrip(*diagram)) {
        m_strip = diagram;
        return startLayout(true);
    }
    if (diagram || m_strip)
        showLayout(diagram ? *diagram : *m_strip);
    else
        m_state->setText(QStringLiteral("配置できませんでした。") +
                         QString::fromUtf8(m_dot.readAllStandardError()).simplified());
}

void DiagramWindow::showLayout(const PlacedDiagram &diagram)
{
    m_view->showDiagram(diagram);
    m_save->setEnabled(true);
    m_state->setText(QStringLiteral("%L1 テーブル、%L2 外部キー　クリックでテーブルを開きます")
                         .arg(diagram.tables.size())
                         .arg(diagram.links.size()));
}

void DiagramWindow::tellMissing(QProcess::ProcessError error)
{
    if (error == QProcess::FailedToStart)
        m_state->setText(QStringLiteral("図の配置には Graphviz の dot が要ります。見つかりません "
                                        "(Debian では graphviz パッケージ)。"));
}

void DiagramWindow::stopLayout()
{
    if (m_dot.state() == QProcess::NotRunning)
        return;
    const QSignalBlocker quiet(m_dot);
    m_dot.kill();
    m_dot.waitForFinished();
}

void DiagramWindow::save()
{
    const QString path =
        QFileDialog::getSaveFileName(this, QStringLiteral("図の保存"), m_database + QStringLiteral(".svg"),
                                     QStringLiteral("SVG (*.svg);;PNG (*.png);;PDF (*.pdf)"));
    if (path.isEmpty())
        return;
    const QString failure = write(path);
    m_state->setText(failure.isEmpty() ? QStringLiteral("%1 に保存しました").arg(path)
                                       : QStringLiteral("保存できませんでした: ") + failure);
}

QString DiagramWindow::write(const QString &path)
{
    const QString form = QFileInfo(path).suffix().toLower();
    const QSizeF size = m_view->sceneRect().size();
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (form == u"png") {
        constexpr double sharpness = 2, mostPixels = 16000; // a side
        const double scale = std::min(sharpness, mostPixels / std::max(size.width(), size.height()));
        QImage image((size * scale).toSize(), QImage::Format_RGB32);
        if (image.isNull())
            return QStringLiteral("絵が大きすぎます");
        QPainter painter(&image);
        m_view->paintOn(painter, image.rect());
        painter.end();
        image.save(&buffer, "PNG");
    } else if (form == u"pdf") {
        QPdfWriter writer(&buffer);
        writer.setPageSize(QPageSize(size, QPageSize::Point));
        writer.setPageMargins({});
        QPainter painter(&writer);
        m_view->paintOn(painter, QRectF(0, 0, writer.width(), writer.height()));
    } else if (form == u"svg") {
        buffer.write(svgOf(m_view->diagram(), m_view->lineHeight()));
    } else {
        return QStringLiteral("ファイル名の終わりは .svg、.png、.pdf のどれかです");
    }
    return saveWholeFile(path, buffer.data());
}

void DiagramWindow::keyPressEvent(QKeyEvent *event)
{
    const bool isClose = event->key() == Qt::Key_W && event->modifiers() == Qt::ControlModifier;
    if (event->key() == Qt::Key_Escape && m_dot.state() != QProcess::NotRunning) {
        stopLayout();
        m_state->setText(QStringLiteral("中止しました。"));
    } else if (event->key() == Qt::Key_Escape || isClose) {
        close();
    } else {
        QWidget::keyPressEvent(event);
    }
}

void DiagramWindow::closeEvent(QCloseEvent *event)
{
    keepSize(*this, m_settingsFile, sizeKey, standardSize);
    QWidget::closeEvent(event);
}

#include "about/frmAbout.h"

#include "about/libraryversions.h"
#include "about/systeminformation.h"

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>

namespace {

const char *const licence = "GPL-3.0-or-later";

QLabel *label(const char *name, const QString &text)
{
    auto *result = new QLabel(text);
    result->setObjectName(QLatin1String(name));
    result->setTextFormat(Qt::PlainText);
    result->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    return result;
}

// One line for each library: its name and the version that is really loaded.
QGridLayout *libraryTable()
{
    auto *grid = new QGridLayout;
    grid->setHorizontalSpacing(24);
    grid->setVerticalSpacing(0);
    int row = 0;
    for (const LibraryVersion &library : libraryVersions()) {
        grid->addWidget(label("lblLibrary", library.name), row, 0);
        grid->addWidget(label("lblLibraryVersion", library.version), row++, 1);
    }
    grid->setColumnStretch(1, 1);
    return grid;
}

QPushButton *button(const char *name, const QString &caption)
{
    auto *result = new QPushButton(caption);
    result->setObjectName(QLatin1String(name));
    return result;
}

} // namespace

frmAbout::frmAbout(QWidget *parent, Dialogue *dialogue)
    : QDialog(parent)
    , m_boxes(this, {})
    , m_dialogue(dialogue ? *dialogue : m_boxes)
{
    setObjectName(QStringLiteral("frmAbout"));
    setWindowTitle(QStringLiteral("ﾊﾞｰｼﾞｮﾝ情報"));
    layOut();
}

void frmAbout::layOut()
{
    auto *picIcon = new QLabel;
    picIcon->setObjectName(QStringLiteral("picIcon"));
    picIcon->setPixmap(windowIcon().pixmap(QSize(64, 64), devicePixelRatioF()));

    QLabel *lblTitle = label("lblTitle", QStringLiteral("Tarnwell"));
    QFont large = lblTitle->font();
    large.setPointSizeF(large.pointSizeF() * 1.8);
    lblTitle->setFont(large);

    auto *texts = new QVBoxLayout;
    texts->setSpacing(0);
    texts->addWidget(lblTitle);
    texts->addWidget(label("lblDescription", QStringLiteral("開発者向け MySQL管理ソフト")));
    texts->addWidget(label("lblVersion", QStringLiteral("ﾊﾞｰｼﾞｮﾝ ") + QLatin1String(TARNWELL_VERSION)));
    texts->addWidget(label("lblLicence", QStringLiteral("ﾗｲｾﾝｽ ") + QLatin1String(licence)));
    texts->addSpacing(12);
    texts->addLayout(libraryTable());
    texts->addStretch();

    QPushButton *cmdSysInfo = button("cmdSysInfo", QStringLiteral("ｼｽﾃﾑ情報..."));
    QPushButton *cmdOK = button("cmdOK", QStringLiteral("OK"));
    cmdOK->setDefault(true);
    connect(cmdSysInfo, &QPushButton::clicked, this, &frmAbout::cmdSysInfo_Click);
    connect(cmdOK, &QPushButton::clicked, this, &QDialog::accept);
    auto *buttons = new QVBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdSysInfo);

    auto *columns = new QHBoxLayout(this);
    columns->setSpacing(20);
    columns->addWidget(picIcon, 0, Qt::AlignTop);
    columns->addLayout(texts, 1);
    columns->addLayout(buttons);
}

void frmAbout::cmdSysInfo_Click()
{
    if (!startSystemInformation())
        m_dialogue.inform(QStringLiteral("現時点ではｼｽﾃﾑ情報を使用できません"));
}

void showAboutBox(QWidget *parent)
{
    frmAbout(parent).exec();
}

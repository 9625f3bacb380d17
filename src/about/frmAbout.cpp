#include "about/frmAbout.h"

#include <QGridLayout>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QStandardPaths>
#include <QStringList>
#include <Qsci/qsciglobal.h>

#include <array>
#include <mysql.h>
#include <sql.h>
#include <sqlext.h>
#include <vector>

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

namespace {

struct Tool {
    QString program;
    QStringList arguments;
};

std::vector<Tool> usualTools()
{
#if defined(Q_OS_WIN)
    return {{QStringLiteral("msinfo32"), {}}};
#elif defined(Q_OS_MACOS)
    return {{QStringLiteral("open"), {QStringLiteral("-a"), QStringLiteral("System Information")}}};
#else
    return {{QStringLiteral("kinfocenter"), {}},
            {QStringLiteral("hardinfo2"), {}},
            {QStringLiteral("hardinfo"), {}},
            {QStringLiteral("gnome-control-center"), {QStringLiteral("info-overview")}},
            {QStringLiteral("cinnamon-settings"), {QStringLiteral("info")}},
            {QStringLiteral("mate-system-monitor"), {QStringLiteral("--show-system-tab")}},
            {QStringLiteral("gnome-system-monitor"), {}}};
#endif
}

} // namespace

bool startSystemInformation()
{
    for (const Tool &tool : usualTools()) {
        const QString program = QStandardPaths::findExecutable(tool.program);
        if (!program.isEmpty())
            return QProcess::startDetached(program, tool.arguments);
    }
    return false;
}

namespace {

// A driver manager tells its version over a connection handle, connected or not.
QString driverManagerVersion()
{
    SQLHANDLE environment = SQL_NULL_HANDLE;
    SQLHANDLE connection = SQL_NULL_HANDLE;
    std::array<SQLCHAR, 64> version{};
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment)))
        return {};
    SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    if (SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_DBC, environment, &connection))) {
        SQLGetInfo(connection, SQL_DM_VER, version.data(), static_cast<SQLSMALLINT>(version.size()), nullptr);
        SQLFreeHandle(SQL_HANDLE_DBC, connection);
    }
    SQLFreeHandle(SQL_HANDLE_ENV, environment);
    return QString::fromLatin1(reinterpret_cast<const char *>(version.data()));
}

} // namespace

std::vector<LibraryVersion> libraryVersions()
{
    return {{QStringLiteral("Qt"), QLatin1String(qVersion())},
            {QStringLiteral("QScintilla"), QLatin1String(QSCINTILLA_VERSION_STR)},
            {QStringLiteral("ODBC"), driverManagerVersion()},
            {QStringLiteral("MariaDB Connector/C"), QLatin1String(mysql_get_client_info())}};
}

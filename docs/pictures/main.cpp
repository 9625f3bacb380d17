// tarnwell_pictures FOLDER DEMO-FOLDER: takes the guide's pictures into a folder. demo/server starts it.
#include "browser/frmTarnwell.h"
#include "console/frmSql.h"
#include "controls/window/desktopcolours.h"
#include "controls/window/windowpump.h"
#include "core/driver/connect.h"
#include "photographer.h"

#include <QAction>
#include <QApplication>
#include <QFile>

namespace {

QString readLine(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        giveUp(path + QStringLiteral(": ") + file.errorString());
    return QString::fromUtf8(file.readAll()).trimmed();
}

void takeDark(Photographer &at)
{
    const QPalette before = QApplication::palette();
    QPalette dark(Qt::white, QColor(0x31363b), QColor(0x4a5157), QColor(0x1b1e20), QColor(0x2a2e32),
                  Qt::white, QColor(0x1b1e20));
    dark.setColor(QPalette::Window, QColor(0x2a2e32));
    dark.setColor(QPalette::PlaceholderText, QColor(0xa1a9b1));
    dark.setColor(QPalette::Highlight, QColor(0x2a6f97));
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText})
        dark.setColor(QPalette::Disabled, role, QColor(0x6e757b));
    QApplication::setPalette(dark);
    at.take(QStringLiteral("dark"));
    QApplication::setPalette(before);
}

void takeMainWindow(Photographer &at, const QDir &demo)
{
    at.enter(QStringLiteral("txtServer"), QStringLiteral("localhost"));
    at.enter(QStringLiteral("txtUser"), QStringLiteral("demo"));
    at.enter(QStringLiteral("txtPass"), readLine(demo.filePath(QStringLiteral("password"))));
    at.enter(QStringLiteral("txtPort"), readLine(demo.filePath(QStringLiteral("port"))));
    at.take(QStringLiteral("connect"));
    at.visitDialog(QStringLiteral("openConnections"), [&at] {
        at.click(QStringLiteral("newConnection"));
        at.enter(QStringLiteral("connectionName"), QStringLiteral("本店の受注"));
        at.enter(QStringLiteral("connectionServer"), QStringLiteral("db1.example.jp"));
        at.enter(QStringLiteral("connectionUser"), QStringLiteral("tanaka"));
        at.take(QStringLiteral("connections"));
    });
    at.click(QStringLiteral("cmdConnect"));
    at.click(QStringLiteral("cmdShowDb"));
    at.choose(QStringLiteral("lstDb"), QStringLiteral("shop"));
    at.choose(QStringLiteral("lstTables"), QStringLiteral("\tcustomers"));
    at.take(QStringLiteral("main"));
    at.click(QStringLiteral("optField_0"));
    at.take(QStringLiteral("text"));
    takeDark(at);
    at.click(QStringLiteral("optField_3"));
    at.click(QStringLiteral("cmdDataGet"));
    at.take(QStringLiteral("data"));
    at.click(QStringLiteral("showLog"));
    at.take(QStringLiteral("log"));
    at.click(QStringLiteral("showLog"));
    at.click(QStringLiteral("optField_0"));
    at.choose(QStringLiteral("lstTables"), QStringLiteral("\tcustomer_totals"));
    at.take(QStringLiteral("view"));
    at.choose(QStringLiteral("lstProcFunc"), QStringLiteral("\tmonthly_access"));
    at.take(QStringLiteral("routine"));
    at.click(QStringLiteral("optField_1"));
    at.choose(QStringLiteral("lstTables"), QStringLiteral("\tcustomers"));
}

void takeDialogs(Photographer &at)
{
    const auto picture = [&at](const char *file) { return [&at, file] { at.take(QLatin1String(file)); }; };
    at.visitDialog(QStringLiteral("cmdInOut"), picture("inout"));
    at.visitDialog(QStringLiteral("cmdCreateDb"), picture("createdb"));
    at.choose(QStringLiteral("lstDb"), QStringLiteral("shop"));
    at.visitDialog(QStringLiteral("cmdRestore"), [&at] {
        at.choose(QStringLiteral("File1"), QStringLiteral("customers.frm"));
        at.take(QStringLiteral("restore"));
    });
    at.visitDialog(QStringLiteral("Command1"), picture("about"));
    at.visitDialog(QStringLiteral("cmdCreateUser"), [&at] {
        at.choose(QStringLiteral("lstUser"), QStringLiteral("\ttanaka"));
        at.choose(QStringLiteral("lstDB"), QStringLiteral("shop"));
        at.take(QStringLiteral("users"));
    });
}

void lookAtWindow(Photographer &at, const char *name)
{
    for (QWidget *window : QApplication::topLevelWidgets())
        if (window->objectName() == QLatin1String(name) && window->isVisible())
            return at.lookAt(*window);
    giveUp(QLatin1String(name));
}

// Over a connection of its own, in a thread.
void takeServer(Photographer &at)
{
    at.click(QStringLiteral("openServer"));
    lookAtWindow(at, "serverWindow");
    at.rest(3000);
    at.take(QStringLiteral("server"));
}

void takeSearch(Photographer &at, const QWidget &mainWindow)
{
    mainWindow.findChild<QAction *>(QStringLiteral("action_openSearch"))->trigger();
    lookAtWindow(at, "searchWindow");
    at.enter(QStringLiteral("searchText"), QStringLiteral("customer"));
    at.rest(2000);
    at.take(QStringLiteral("search"));
}

void takeSheet(Photographer &at)
{
    at.click(QStringLiteral("openSheets"));
    lookAtWindow(at, "sheetWindow");
    at.enter(QStringLiteral("sheetText"),
             QStringLiteral("select name as 商品, price as 単価 from products order by price desc limit 5;\n"
                            "update products set price = price where code = 'x';\n"
                            "select count(*) as 顧客数 from customers;"));
    at.click(QStringLiteral("runSheet"));
    at.rest(1500); // it runs on a thread of its own
    at.take(QStringLiteral("sheet"));
}

void takeConsole(Photographer &at, QWidget &mainWindow)
{
    at.click(QStringLiteral("cmdExec"));
    auto *console = mainWindow.findChild<frmSql *>();
    for (QWidget *window : QApplication::topLevelWidgets())
        if (auto *found = qobject_cast<frmSql *>(window))
            console = found;
    if (!console)
        giveUp(QStringLiteral("no console"));
    console->resize(1100, 720);
    at.lookAt(*console);
    at.enter(QStringLiteral("txtSql"),
             QStringLiteral("select c.name as 顧客, p.name as 商品, i.quantity as 数量, p.price as 単価\n"
                            "from order_items i\n"
                            "join products p on p.code = i.product_code\n"
                            "join `order` o on o.id = i.order_id\n"
                            "join customers c on c.id = o.customer_id"));
    at.click(QStringLiteral("optRecord_1"));
    at.click(QStringLiteral("cmdExec"));
    at.take(QStringLiteral("console"));
    at.click(QStringLiteral("optRecord_0"));
    at.take(QStringLiteral("console-text"));
    at.click(QStringLiteral("cmdAnalyze"));
    at.take(QStringLiteral("console-plan"));
    at.visitDialog(QStringLiteral("cmdEditer"), [&at] { at.take(QStringLiteral("editor")); });
    at.enter(QStringLiteral("txtVariablename"), QStringLiteral("@total"));
    at.click(QStringLiteral("cmdVariable"));
    at.take(QStringLiteral("console-variables"));
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    if (argc != 3)
        giveUp(QStringLiteral("usage: tarnwell_pictures FOLDER DEMO-FOLDER"));
    applyDesktopColours();
    QApplication::setApplicationName(QStringLiteral("Tarnwell"));
    QApplication::setApplicationVersion(QStringLiteral(TARNWELL_VERSION));

    WindowPump pump;
    Session session;
    // It holds no settings: the windows look as they do at the first start. The restore's picture wants
    // backups there (*.frm, may be empty), customers.frm among them.
    session.programFolder = QDir::homePath();
    session.connectBy(createConnection, pump);
    frmTarnwell window(session);
    window.resize(1180, 760);
    window.show();

    Photographer photographer{QDir(QFile::decodeName(argv[1]))};
    photographer.lookAt(window);
    takeMainWindow(photographer, QDir(QFile::decodeName(argv[2])));
    takeDialogs(photographer);
    takeConsole(photographer, window);
    photographer.lookAt(window);
    takeSheet(photographer);
    photographer.lookAt(window);
    takeServer(photographer);
    photographer.lookAt(window);
    takeSearch(photographer, window);
    return 0;
}

#pragma once

#include "controls/lists/chosenlist.h"
#include "core/driver/connect.h"
#include "support/gui/control.h"
#include "support/rows.h"
#include "support/scriptedconnection.h"
#include "support/scripteddialogue.h"
#include "support/testserver.h"
#include "users/accountcommands.h"
#include "users/frmUserAdd.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>

using Run = AccountOutcome (*)(AccountContext &);
Q_DECLARE_METATYPE(Run)
Q_DECLARE_METATYPE(AccountForm)

// A user who agrees to a question, and the end that it comes to.
struct AccountUser : ScriptedDialogue {
    void agrees(const QString &question, const QString &success)
    {
        expectConfirm(question, Icon::Information, true);
        expectInform(success);
    }
    void agreesInVain(const QString &question, const QString &refusal)
    {
        expectConfirm(question, Icon::Information, true);
        expectRefuse(refusal);
    }
    void deletes(const QString &question)
    {
        expectConfirm(question, Icon::Critical, true);
        expectInform("削除しました。");
    }
};

// A command's surroundings: a scripted server, a session on it, a scripted user.
struct AccountStage {
    AccountStage() { session.gCn = script.connect(); }
    AccountOutcome run(Run command, const AccountForm &form)
    {
        AccountContext context{session, form, dialogue};
        const AccountOutcome outcome = command(context);
        if (dialogue.busyDepth != 0)
            QTest::qFail("the hourglass stays", __FILE__, __LINE__);
        return outcome;
    }

    Script script;
    Session session;
    AccountUser dialogue;
};

inline Checks checked(std::size_t count, std::initializer_list<std::size_t> indexes)
{
    Checks checks(count);
    for (const std::size_t index : indexes)
        checks[index] = true;
    return checks;
}

// An account u@h with nothing chosen beyond it and no box checked.
inline AccountForm plainForm()
{
    AccountForm form;
    form.user = " u ";
    form.host = " h ";
    form.account = {"h", "u"};
    form.password = form.passwordTag = "\r\n\r\n\r\n";
    form.global = form.globalBefore = checked(26, {});
    form.database = checked(17, {});
    form.table = checked(4, {});
    form.addDatabase = form.addTableDatabase = "*";
    return form;
}

// The window on a connection to the test server, with a scripted user before it.
struct UserStage {
    explicit UserStage(const QString &connectionString)
    {
        session.gCn = createConnection(connectionString, pump);
        session.gCn->open();
        window = std::make_unique<frmUserAdd>(session, nullptr, &dialogue);
        window->show();
    }

    template <class Control>
    Control &control(const char *name) const
    {
        return ::control<Control>(*window, name);
    }
    void click(const char *button) const { control<QPushButton>(button).click(); }
    void does(const QString &question, const char *button, const QString &success)
    {
        dialogue.agrees(question, success);
        click(button);
    }
    void fails(const QString &question, const char *button, const QString &refusal)
    {
        dialogue.agreesInVain(question, refusal);
        click(button);
    }
    void type(const char *box, const QString &text) const { control<QLineEdit>(box).setText(text); }
    void check(const char *box, bool isOn = true) const { control<QCheckBox>(box).setChecked(isOn); }
    bool isChecked(const char *box) const { return control<QCheckBox>(box).isChecked(); }
    bool isEnabled(const char *name) const { return control<QWidget>(name).isEnabled(); }
    QStringList items(const char *list) const { return control<ChosenList>(list).texts(); }
    QString chosen(const char *list) const { return control<ChosenList>(list).currentText(); }
    void choose(const char *list, const QString &item) const
    {
        auto &box = control<ChosenList>(list);
        const auto row = box.texts().indexOf(item);
        if (row < 0)
            QTest::qFail(qPrintable(QStringLiteral("no item ") + item), __FILE__, __LINE__);
        box.setCurrentRow(static_cast<int>(row));
    }

    BlockingPump pump;
    Session session;
    AccountUser dialogue;
    std::unique_ptr<frmUserAdd> window;
};

inline QString loginString(const TestServer &server, const QString &user, const QString &password)
{
    return server.nativeString().replace("uid=demo;pwd=demo",
                                         QStringLiteral("uid=%1;pwd=%2").arg(user, password));
}

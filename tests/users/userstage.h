#pragma once

#include "controls/chosenlist.h"
#include "core/connect.h"
#include "support/scripteddialogue.h"
#include "support/testserver.h"
#include "users/frmuseradd.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>

// The window on a connection to the test server, with a scripted user before it.
struct UserStage {
    explicit UserStage(const QString &connectionString)
    {
        session.gCn = createConnection(connectionString, pump);
        session.gCn->open();
        window = std::make_unique<frmUserAdd>(session, nullptr, &dialogue);
        window->show();
    }

    static QString loginString(const TestServer &server, const QString &user, const QString &password)
    {
        return server.nativeString().replace(QStringLiteral("uid=demo;pwd=demo"),
                                             QStringLiteral("uid=%1;pwd=%2").arg(user, password));
    }

    // Without the reading statements.
    static QStringList changesOf(const QStringList &statements)
    {
        return statements.filter(QRegularExpression(QStringLiteral("^(?!select|show)")));
    }

    template <class Control>
    Control &control(const char *name) const
    {
        auto *found = window->findChild<Control *>(QLatin1String(name));
        if (!found)
            qFatal("no control %s", name);
        return *found;
    }
    void click(const char *button) const { control<QPushButton>(button).click(); }
    void type(const char *box, const QString &text) const { control<QLineEdit>(box).setText(text); }
    void check(const char *box, bool isOn = true) const { control<QCheckBox>(box).setChecked(isOn); }
    bool isChecked(const char *box) const { return control<QCheckBox>(box).isChecked(); }
    bool isEnabled(const char *name) const { return control<QWidget>(name).isEnabled(); }
    QStringList items(const char *list) const { return control<ChosenList>(list).texts(); }
    void choose(const char *list, const QString &item) const
    {
        auto &box = control<ChosenList>(list);
        const auto row = box.texts().indexOf(item);
        if (row < 0)
            QTest::qFail(qPrintable(QStringLiteral("no item ") + item), __FILE__, __LINE__);
        box.setCurrentRow(static_cast<int>(row));
    }
    void confirms(const char *question, const char *success)
    {
        dialogue.expectConfirm(QString::fromUtf8(question), Icon::Information, true);
        dialogue.expectInform(QString::fromUtf8(success));
    }

    BlockingPump pump;
    Session session;
    ScriptedDialogue dialogue;
    std::unique_ptr<frmUserAdd> window;
};

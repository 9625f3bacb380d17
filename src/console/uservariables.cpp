#include "console/uservariables.h"

#include "controls/lists/chosenlist.h"
#include "core/sql/statements.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QSignalBlocker>

namespace {

// With one statement; none where it fails: a name that is none is seen in the list.
QStringList valuesOf(Session &session, const QStringList &names)
{
    QString list;
    for (const QString &name : names)
        list += u'@' + name + u',';
    QStringList values;
    if (list.isEmpty())
        return values;
    RecordSet &rows = session.gRs;
    try {
        rows = session.connection().execute(QStringLiteral("select ") + cutAtLastComma(list));
        if (!rows.isEof())
            for (int i = 0; i < rows.fieldCount(); ++i)
                values << rows.text(i);
    } catch (const Failure &) {
    }
    rows.close();
    return values;
}

} // namespace

UserVariables::UserVariables(Session &session, ChosenList &lstVariablename, ChosenList &lstVariable,
                             QLineEdit &txtVariablename)
    : m_session(session)
    , m_names(lstVariablename)
    , m_values(lstVariable)
    , m_name(txtVariablename)
{
    connect(&m_names, &ChosenList::chosen, this, [this] {
        m_name.setText(m_names.currentText());
        m_values.setCurrentRow(m_names.currentRow());
    });
    connect(&m_values, &ChosenList::chosen, this, [this] { m_names.setCurrentRow(m_values.currentRow()); });
    m_names.installEventFilter(this);
    m_values.installEventFilter(this);
}

void UserVariables::load()
{
    m_names.clearItems();
    for (const variablename &variable : m_session.gVariables)
        m_names.appendItem(variable.strVariableName);
}

void UserVariables::keep() const
{
    m_session.gVariables.clear();
    for (const QString &name : m_names.texts())
        m_session.gVariables.push_back({name});
}

void UserVariables::add()
{
    m_names.appendItem(m_name.text().remove(u'@'));
}

void UserVariables::refresh()
{
    m_values.clearItems();
    for (const QString &value : valuesOf(m_session, m_names.texts()))
        m_values.appendItem(value);
}

bool UserVariables::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyPress) {
        const auto *key = static_cast<QKeyEvent *>(event);
        const auto held = key->modifiers() & ~Qt::KeyboardModifiers(Qt::KeypadModifier);
        if (key->key() == Qt::Key_Delete && held == Qt::NoModifier) {
            remove(static_cast<ChosenList *>(watched)->currentRow());
            return true;
        }
    }
    return QObject::eventFilter(watched, event);
}

void UserVariables::remove(int line)
{
    if (line < 0)
        return;
    const QSignalBlocker quietNames(m_names);
    const QSignalBlocker quietValues(m_values);
    delete m_names.takeItem(line);
    delete m_values.takeItem(line);
}

#include "controls/text/resulttextbox.h"

#include "controls/text/findbar.h"
#include "controls/text/textcolours.h"
#include "controls/text/textloader.h"
#include "core/driver/pump.h"

#include <QKeyEvent>

#include <exception>
#include <thread>

namespace {

constexpr std::chrono::milliseconds yieldEvery(5);

} // namespace

ResultTextBox::ResultTextBox(QWidget *parent)
    : QsciScintilla(parent)
{
    QAccessible::installFactory(&ResultTextAccess::create);
    SendScintilla(SCI_SETMODEVENTMASK, 0);
    SendScintilla(SCI_SETLAYOUTCACHE, SC_CACHE_PAGE);
    setScrollWidthTracking(true);
    setMarginWidth(1, 0);
    setFont(codeFont());
    clearText();
    colourPlain(*this);
    addFindBar(*this);
}

void ResultTextBox::clearText()
{
    ++m_generation;
    TextLoader loader(*this, 0);
    showDocument(loader.takeDocument());
}

void ResultTextBox::setWholeText(std::string_view utf8)
{
    clearText();
    appendUtf8(utf8);
}

void ResultTextBox::produceText(std::size_t bytes, const std::function<void(const Take &)> &produce,
                                const std::function<void()> &yield)
{
    const int generation = ++m_generation;
    std::unique_ptr<TextLoader> loader;
    std::exception_ptr failure;
    Completion done;
    {
        const std::jthread worker([&] {
            try {
                loader = std::make_unique<TextLoader>(*this, bytes);
                produce([&](std::string_view utf8) { loader->add(utf8); });
            } catch (...) {
                failure = std::current_exception();
            }
            done.finish();
        });
        while (!done.waitFor(yieldEvery))
            yield();
    }
    if (failure)
        std::rethrow_exception(failure);
    if (generation == m_generation)
        showDocument(loader->takeDocument());
}

void ResultTextBox::showDocument(void *document)
{
    SendScintilla(SCI_SETDOCPOINTER, 0ul, document);
    SendScintilla(SCI_RELEASEDOCUMENT, 0ul, document); // the view holds it from now on
    setUtf8(true);
    SendScintilla(SCI_SETUNDOCOLLECTION, 0);
    setReadOnly(true);
    setScrollWidth(1);
}

qint64 ResultTextBox::byteCount() const
{
    return SendScintilla(SCI_GETLENGTH);
}

void ResultTextBox::appendUtf8(std::string_view utf8)
{
    setReadOnly(false);
    SendScintilla(SCI_APPENDTEXT, static_cast<unsigned long>(utf8.size()), utf8.data());
    setReadOnly(true);
}

void ResultTextBox::changeEvent(QEvent *event)
{
    QsciScintilla::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        colourPlain(*this);
}

void ResultTextBox::keyPressEvent(QKeyEvent *event)
{
    // Nothing can be typed here, so Tab goes to the next control.
    if (event->key() == Qt::Key_Tab)
        focusNextChild();
    else if (event->key() == Qt::Key_Backtab)
        focusPreviousChild();
    else
        QsciScintilla::keyPressEvent(event);
}

QVariant ResultTextBox::inputMethodQuery(Qt::InputMethodQuery query) const
{
    // QScintilla 2.13 hands out the whole paragraph around the caret: a second for 150 MB without a blank
    // line.
    if (query == Qt::ImEnabled)
        return false;
    return {};
}

namespace {

constexpr qint64 mostCharacters = 100000;

} // namespace

ResultTextAccess::ResultTextAccess(ResultTextBox *box)
    : QAccessibleWidget(box, QAccessible::EditableText)
    , m_box(*box)
{
}

QAccessibleInterface *ResultTextAccess::create(const QString &, QObject *object)
{
    auto *box = qobject_cast<ResultTextBox *>(object);
    return box ? new ResultTextAccess(box) : nullptr;
}

void *ResultTextAccess::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::TextInterface)
        return static_cast<QAccessibleTextInterface *>(this);
    return QAccessibleWidget::interface_cast(type);
}

QAccessible::State ResultTextAccess::state() const
{
    QAccessible::State state = QAccessibleWidget::state();
    state.readOnly = true;
    state.multiLine = true;
    return state;
}

QString ResultTextAccess::text(QAccessible::Text kind) const
{
    return kind == QAccessible::Value ? beginning() : QAccessibleWidget::text(kind);
}

void ResultTextAccess::selection(int, int *start, int *end) const
{
    *start = *end = 0;
}

QString ResultTextAccess::text(int start, int end) const
{
    return beginning().mid(start, end - start);
}

int ResultTextAccess::characterCount() const
{
    return static_cast<int>(beginning().size());
}

void ResultTextAccess::scrollToSubstring(int start, int)
{
    m_box.ensureLineVisible(static_cast<int>(beginning().left(start).count(u'\n')));
}

QString ResultTextAccess::attributes(int, int *start, int *end) const
{
    *start = 0;
    *end = characterCount();
    return {};
}

QString ResultTextAccess::beginning() const
{
    const int bytes = static_cast<int>(std::min(m_box.byteCount(), mostCharacters));
    QString text = m_box.text(0, bytes);
    // The cut may have hit the middle of a character.
    if (bytes == mostCharacters)
        text.chop(2);
    return text;
}

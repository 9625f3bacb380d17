#include "controls/resulttextbox.h"

#include "controls/findbar.h"
#include "controls/resulttextaccess.h"
#include "controls/textcolours.h"
#include "controls/textloader.h"
#include "core/pump.h"

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

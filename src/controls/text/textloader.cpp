#include "controls/text/textloader.h"

#include "controls/text/scintilla.h"

#include <new>

// As Scintilla documents it; QScintilla's headers leave it out.
class ILoader {
public:
    virtual int Release() = 0;
    virtual int AddData(const char *data, std::ptrdiff_t length) = 0;
    virtual void *ConvertToDocument() = 0;

protected:
    ~ILoader() = default;
};

TextLoader::TextLoader(QsciScintillaBase &box, std::size_t bytes)
{
    // Room for everything at once, and a little more: the buffer grows when it becomes full. The message
    // touches nothing of the box, so a worker may send it.
    constexpr std::size_t spare = 4096;
    constexpr long options =
        QsciScintillaBase::SC_DOCUMENTOPTION_STYLES_NONE | QsciScintillaBase::SC_DOCUMENTOPTION_TEXT_LARGE;
    const long address = box.SendScintilla(QsciScintillaBase::SCI_CREATELOADER,
                                           static_cast<unsigned long>(bytes + spare), options);
    m_loader = reinterpret_cast<ILoader *>(address);
    if (!m_loader)
        throw std::bad_alloc();
}

TextLoader::~TextLoader()
{
    if (m_loader)
        m_loader->Release();
}

void TextLoader::add(std::string_view utf8)
{
    m_loader->AddData(utf8.data(), static_cast<std::ptrdiff_t>(utf8.size()));
}

void *TextLoader::takeDocument()
{
    void *document = m_loader->ConvertToDocument();
    m_loader = nullptr;
    return document;
}

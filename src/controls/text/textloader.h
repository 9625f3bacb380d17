#pragma once

#include <cstddef>
#include <string_view>

class ILoader;
class QsciScintillaBase;

// A text document that no view shows yet, without style bytes and undo. It may be made and filled on a
// worker; taking the document and destroying the loader are for the thread of the windows.
class TextLoader {
public:
    TextLoader(QsciScintillaBase &box, std::size_t bytes);
    ~TextLoader();
    TextLoader(const TextLoader &) = delete;
    TextLoader &operator=(const TextLoader &) = delete;

    void add(std::string_view utf8);
    // The caller releases it with SCI_RELEASEDOCUMENT; the loader is of no use any more.
    void *takeDocument();

private:
    ILoader *m_loader;
};

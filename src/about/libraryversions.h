#pragma once

#include <QString>

#include <vector>

struct LibraryVersion {
    QString name;
    QString version;
};

// The libraries that the running program uses, as they report themselves where they can.
std::vector<LibraryVersion> libraryVersions();

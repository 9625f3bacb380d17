#pragma once

#include "core/session/connectionprofile.h"

#include <functional>
#include <optional>
#include <vector>

class QWidget;

// The saved connections, for windows that work with a further one.
struct SavedConnections {
    std::function<std::vector<ConnectionProfile>()> list; // may be missing: there are none
    // The kept password of one of them or the user's answer, asked for on the window; no value: the user gave
    // up.
    std::function<std::optional<QString>(const ConnectionProfile &connection, QWidget *window)> password;

    std::vector<ConnectionProfile> all() const { return list ? list() : std::vector<ConnectionProfile>(); }
};

#pragma once

#include "core/session/connectionprofile.h"

#include <functional>
#include <optional>
#include <vector>

class QWidget;

// Where one can copy to.
struct CopyTargets {
    std::vector<ConnectionProfile> connections; // that are saved
    // The kept password of one of them or the user's answer; no value: the user gave up.
    std::function<std::optional<QString>(const ConnectionProfile &connection, QWidget *window)> password;
};

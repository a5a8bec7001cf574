#pragma once

#include "simwindow.h"

#include <QString>

// A board that sits on an adapter for a while, as an operator places and removes it.
struct SimTarget
{
    SimWindow window;
    QString uniqueId;
};

#pragma once

#include "actions/actionrunner.h"
#include "actions/views/pins.h"
#include "actions/views/previewer.h"
#include "platform/trash.h"
#include "support/scriptedprompts.h"
#include "support/shelfrig.h"

// A shelf with what its commands act through: a Trash of its own, the
// runner, the preview, pins, and a prompt that answers at once.
struct ActionRig : ShelfRig
{
    FreedesktopTrash trash{box.path("Trash")};
    ActionRunner runner{trash, &meta};
    Previewer previewer;
    Pins pins;
    ScriptedPrompt prompt;

    QString trashed(const QString &name) const { return box.path("Trash/files/") + name; }
    bool settle()
    {
        return QTest::qWaitFor([this] { return runner.pending() == 0; }, 10000);
    }
};

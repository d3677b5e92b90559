#!/usr/bin/python3
"""What a screen reader sees of one running program, read over AT-SPI.

  atspiwalk.py tree PID     every object of the program's tree, one JSON
                            object a line: path, role, name, description,
                            states, child count
  atspiwalk.py events PID   after a line "listening", one JSON line for each
                            focus or selection change the program reports

Run on the session bus the program joined (DBUS_SESSION_BUS_ADDRESS)."""

import json
import sys

import pyatspi


def application(pid):
    desktop = pyatspi.Registry.getDesktop(0)
    for app in desktop:
        if app is not None and app.get_process_id() == pid:
            return app
    return None


def describe(node, path):
    states = node.getState().getStates()
    return {
        "path": path,
        "role": node.getRoleName(),
        "name": node.name or "",
        "description": node.description or "",
        "states": sorted(pyatspi.stateToString(s) for s in states),
        "children": node.childCount,
    }


def tree(pid):
    app = application(pid)
    if app is None:
        print(json.dumps({"error": "no application with pid %d" % pid}))
        return 1
    pending = [(app, "")]
    while pending:
        node, path = pending.pop(0)
        print(json.dumps(describe(node, path)))
        # A list's items are read whole; deeper than a screenful is not needed.
        for i in range(min(node.childCount, 500)):
            child = node.getChildAtIndex(i)
            if child is not None:
                pending.append((child, "%s/%d" % (path, i)))
    return 0


def events(pid):
    def heard(event):
        try:
            source = event.source
            if source.get_process_id() != pid:
                return
            line = describe(source, "")
            line.update({"event": event.type, "detail1": event.detail1})
            print(json.dumps(line), flush=True)
        except Exception as error:  # an object gone while it was read
            print(json.dumps({"event": event.type, "error": str(error)}), flush=True)

    for kind in ("object:state-changed:focused", "object:state-changed:selected", "focus:"):
        pyatspi.Registry.registerEventListener(heard, kind)
    print("listening", flush=True)
    pyatspi.Registry.start()
    return 0


if __name__ == "__main__":
    if len(sys.argv) != 3 or sys.argv[1] not in ("tree", "events"):
        print(__doc__, file=sys.stderr)
        sys.exit(2)
    sys.exit({"tree": tree, "events": events}[sys.argv[1]](int(sys.argv[2])))

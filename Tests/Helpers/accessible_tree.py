#!/usr/bin/python3
"""Prints what a screen reader finds in the running Corvid, one line for each object:

<depth> <role> | <name> | <description> | <states>

where the states are those that tests ask for. Text fields add "= <text>"."""
import sys

import pyatspi

STATES = {"selected": pyatspi.STATE_SELECTED, "focused": pyatspi.STATE_FOCUSED,
          "editable": pyatspi.STATE_EDITABLE, "showing": pyatspi.STATE_SHOWING}


def show(accessible, depth):
    states = accessible.getState()
    names = [name for name, state in STATES.items() if states.contains(state)]
    role = accessible.getRoleName().replace("push button", "button")  # as Debian 13 has it
    line = f"{depth} {role} | {accessible.name} | {accessible.description}" \
           f" | {' '.join(names)}"
    try:
        text = accessible.queryText()
        line += " = " + text.getText(0, -1).replace("\n", "⏎")
    except NotImplementedError:
        pass
    print(line)
    for child in accessible:
        if child is not None:
            show(child, depth + 1)


def main():
    for application in pyatspi.Registry.getDesktop(0):
        if application is not None and application.name.lower() == "corvid":
            show(application, 0)
            return 0
    return 1


sys.exit(main())

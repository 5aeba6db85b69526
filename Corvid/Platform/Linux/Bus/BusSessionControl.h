#pragma once

#include "Base/TaskGroup.h"
#include "Platform/SessionControl.h"

#include <QObject>

#include <bitset>

namespace corvid {

/**
 * The session as its services on the buses control it: its own screen saver and session manager
 * where there are such, logind for the rest.
 *
 * Connecting to a bus waits for it, so that each question and each command is a task with
 * connections of its own, which ends with us: a bus or a service that hangs holds up nobody else,
 * and between them nothing is connected. Nothing is started to be asked.
 */
class BusSessionControl final : public SessionControl {
public:
    using Abilities = std::bitset<6>; ///< by command

    void ask() override;
    bool can(SessionCommand command) const override {
        return abilities_.test(static_cast<std::size_t>(command));
    }
    void carryOut(SessionCommand command) override;

private:
    void install(const Abilities &found);

    Abilities abilities_;
    bool isAsking_ = false;
    QObject receiver_; ///< what tasks hand over is dropped with us
    TaskGroup tasks_;
};

} // namespace corvid

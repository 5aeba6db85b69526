#pragma once

#include "Platform/FolderDialog.h"

#include <utility>

namespace corvid {

/** A test chooses. */
class FakeFolderDialog final : public FolderDialog {
public:
    void choose(const QWindow & /*window*/, const QString &newPrompt, Done newDone) override {
        prompt = newPrompt;
        done = std::move(newDone);
    }

    QString prompt;
    Done done; ///< empty unless somebody was asked to choose
};

} // namespace corvid

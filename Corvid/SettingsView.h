#pragma once

#include "Chat/KnownServices.h"
#include "Settings/HotKeyRecorder.h"

#include <QWidget>

#include <functional>
#include <optional>
#include <vector>

class QLabel;
class QPushButton;
class QScrollArea;

namespace corvid {

class AIService;
class AISection;
class FolderDialog;
class FolderSection;
class HotKeyAdvice;
class HotKeyManager;
class KeychainHelper;
class LearntSection;
class PanelSurface;
class PlaceholderLabel;
class ProjectIndex;
class UsageStats;
class UserDefaults;
class WebSearchSection;

/**
 * The settings' window, of fixed size, in the desktop's colours and font, with a form: hot key, AI
 * endpoint, project folders, web search, what was learnt. It shows what is stored each time it is
 * shown. A new hot key, changes to the folders and to search words and forgetting are stored at
 * once, the rest by "Save". No failure to store is shown but that of a key for which the keyring
 * was not unlocked: then the form comes back with it. Closing hides the window. Main thread only.
 */
class SettingsView final : public QWidget {
    Q_OBJECT

public:
    /** What the form works on; all of it outlives the form. */
    struct Environment {
        UserDefaults &defaults;
        ProjectIndex &projects;
        HotKeyManager &hotKeys;
        FolderDialog &folderDialog;
        KeychainHelper &keychain;
        UsageStats &stats;
        AIService &ai;
        PanelSurface &panelSurface;
        /** What is offered beside the address. */
        std::vector<KnownService> services = knownServices();
        /** Called after a new hot key has been stored. May be empty. */
        std::function<void()> onHotkeyChanged = {};
    };

    explicit SettingsView(Environment environment);
    ~SettingsView() override;

    /** Shows the window in front of others and gives it the keyboard, on the middle of the screen
        under the pointer when it is shown for the first time. */
    void present();
    /** Takes over changed colours and fonts. */
    void applyStyle();

    /** Shows what is stored, in place of all that was entered. Runs whenever the form is shown. A
        stored hot key that is no pair of 32-bit numbers is fatal. */
    void load();
    /** Shows the stored key of the AI endpoint unless somebody is entering one: for when the
        credential store answers late. */
    void loadKey();
    /** Stores everything but an empty key, scans the projects anew and closes the window; does
        nothing when the key could never be sent, which the form says. */
    void save();

    /** Makes the next key combination that a window of ours is given the hot key. Until then the
        present one does nothing while the form is shown. */
    void startRecording();
    void stopRecording();
    bool recording() const { return recorder_.active(); }

    /** Whether the form was ever saved. */
    bool saved() const { return saved_; }

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void underlineMnemonics(bool underlined);
    QWidget *makeForm();
    QWidget *makeHotkeySection();
    QWidget *makeAISection();
    void keepHotKey(const HotKey &hotKey);
    void showRecording();
    void showAdvice();

    Environment environment_;
    HotKeyRecorder recorder_;
    bool saved_ = false;
    bool centred_ = false;

    QScrollArea *scrollArea_ = nullptr;
    PlaceholderLabel *hotkeyText_ = nullptr;
    HotKeyAdvice *hotkeyAdvice_ = nullptr;
    QPushButton *recordButton_ = nullptr;
    AISection *ai_ = nullptr;
    FolderSection *folders_ = nullptr;
    WebSearchSection *webSearch_ = nullptr;
    LearntSection *learnt_ = nullptr;
    QPushButton *saveButton_ = nullptr;
};

} // namespace corvid

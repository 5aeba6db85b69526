#pragma once

#include "Settings/HotKeyRecorder.h"

#include <QWidget>

#include <functional>
#include <optional>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QScrollArea;

namespace corvid {

class FolderDialog;
class FolderSection;
class HotKeyManager;
class KeychainHelper;
class ProjectIndex;
class UserDefaults;

/**
 * The settings form: hot key, AI endpoint, project folders. It shows what is stored each time it is
 * shown. A new hot key and changes to the folders are stored at once, the rest by "Save". Main
 * thread only. No failure to store is shown.
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
        /** Called after a new hot key has been stored. May be empty. */
        std::function<void()> onHotkeyChanged = {};
    };

    explicit SettingsView(Environment environment, QWidget *parent = nullptr);
    ~SettingsView() override;

    /** Shows what is stored, in place of all that was entered. Runs whenever the form is shown. A
        stored hot key that is no pair of 32-bit numbers is fatal. */
    void load();
    /** Shows the stored key of the AI endpoint unless somebody is entering one: for when the
        credential store answers late. */
    void loadKey();
    /** Stores everything but an empty key, scans the projects anew and closes the window. */
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
    void keyPressEvent(QKeyEvent *event) override;

private:
    QWidget *makeForm();
    QWidget *makeHotkeySection();
    QWidget *makeAISection();
    void keepHotKey(const HotKey &hotKey);
    void showRecording();
    void showHotkeyHint();

    Environment environment_;
    HotKeyRecorder recorder_;
    bool saved_ = false;

    QScrollArea *scrollArea_ = nullptr;
    QLabel *hotkeyText_ = nullptr;
    QLabel *hotkeyHint_ = nullptr;
    QPushButton *recordButton_ = nullptr;
    QCheckBox *aiEnabled_ = nullptr;
    QLineEdit *baseURL_ = nullptr;
    QLineEdit *model_ = nullptr;
    QLineEdit *apiKey_ = nullptr;
    FolderSection *folders_ = nullptr;
    QPushButton *saveButton_ = nullptr;
};

} // namespace corvid

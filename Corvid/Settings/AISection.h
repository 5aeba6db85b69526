#pragma once

#include "AIService.h"
#include "Chat/KnownServices.h"
#include "Settings/FormWidgets.h"

#include <QString>

#include <vector>

class QCheckBox;
class QCompleter;
class QLineEdit;
class QMenu;
class QPushButton;
class QToolButton;

namespace corvid {

class KeychainHelper;
class UserDefaults;

/**
 * The settings' section of the AI endpoint. Asks nobody anything before the user opens a list or
 * presses "Test". Stores when it is told to. Main thread only.
 */
class AISection final : public FormSection {
    Q_OBJECT

public:
    /** All of them outlive the section. */
    AISection(UserDefaults &defaults, KeychainHelper &keychain, AIService &ai,
              std::vector<KnownService> services);
    ~AISection() override;

    /** Shows what is stored, in place of all that was entered, except for a key that is still being
        stored. */
    void load();
    /** Shows the stored key unless somebody is entering one, or one is still being stored. */
    void loadKey();
    /** Stores everything but an empty key. False when it stores nothing since the key could never
        be sent, which the form says. */
    bool save();

Q_SIGNALS:
    /** The keyring stayed locked when the key was to be stored: it stands in the form again, which
        says so right afterwards. */
    void keyNotStored();
    /** Another text for people stands in this widget. */
    void said(QWidget *where);

private:
    QLineEdit *addField(QWidget *fields, const QString &label, QToolButton *button);
    void makeFields();
    void makeTest();
    void makeNamesSwitch();
    void say(const QString &text);
    AIService::Endpoint entered() const;
    void offerServices();
    void choose(const KnownService &service);
    void loadModels();
    void showModels(const QStringList &models);
    void test();
    void sendTest();
    void keySaved(bool stayedLocked);

    UserDefaults &defaults_;
    KeychainHelper &keychain_;
    AIService &ai_;
    const std::vector<KnownService> services_;
    QCheckBox *enabled_;
    QLineEdit *baseURL_ = nullptr;
    QMenu *serviceMenu_;
    QLineEdit *model_ = nullptr;
    QToolButton *modelButton_ = nullptr;
    QCompleter *modelList_;
    QLineEdit *apiKey_ = nullptr;
    QPushButton *testButton_ = nullptr;
    QLabel *message_ = nullptr;
    QCheckBox *sendsNames_ = nullptr;
    QString replacedKey_;     ///< what stood in the key's field before the placeholder
    bool savingKey_ = false;  ///< what came of it is still to be told
    AIService::Task request_; ///< of the test or of the list of models
    std::vector<AIService::Task> searches_; ///< for services on this machine
};

} // namespace corvid

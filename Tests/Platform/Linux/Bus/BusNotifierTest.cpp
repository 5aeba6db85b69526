// Notifications over a real bus, to a service that a test scripts.

#include "Platform/Linux/Bus/BusNotifier.h"

#include "Worlds/NotificationService.h"

#include <gtest/gtest.h>

#include <memory>

using namespace corvid;
using namespace corvid::test;

namespace {

[[maybe_unused]] const auto *const bus = ::testing::AddGlobalTestEnvironment(new PrivateBus);

const QString seven = u"--answer=Notify=(uint32 7,)"_s;

class BusNotifierTest : public ::testing::Test {
protected:
    void serve(const QStringList &answers = NotificationService::withEverything) {
        service = std::make_unique<NotificationService>(folder.filePath(u"calls"_s), answers);
    }
    void notify(const QString &text = u"a <b>\nc"_s) {
        notifier.notify({u"Title"_s, text, u"Do it"_s, [this] { happened += u"chosen "_s; },
                         [this] { ++delivered; }});
    }
    bool isDelivered(int times = 1) {
        return eventually([=, this] { return delivered == times; });
    }
    QString lastCall() const {
        const QStringList calls = service->calls();
        return calls.isEmpty() ? QString() : calls.last();
    }

    QTemporaryDir folder;
    std::unique_ptr<NotificationService> service;
    QString happened;
    int delivered = 0;
    BusNotifier notifier{
        [this](const QByteArray &token) { happened += u"<%1> "_s.arg(QString::fromUtf8(token)); }};
};

} // namespace

TEST_F(BusNotifierTest, isShownWithAButtonAndItsTextAsMarkup) {
    serve();
    notify();
    ASSERT_TRUE(isDelivered());
    EXPECT_EQ(lastCall(),
              u"org.freedesktop.Notifications.Notify ('Corvid', 0, 'app.corvid.Launcher', "
              "'Title', 'a &lt;b&gt;\\nc', ['default', 'Do it', 'show', 'Do it'], "
              "{'desktop-entry': <'app.corvid.Launcher'>}, -1)"_s);
}

TEST_F(BusNotifierTest, whereThereAreNoButtonsAndNoMarkupThereAreNone) {
    serve({u"--answer=GetCapabilities=(['body'],)"_s, seven});
    notify();
    ASSERT_TRUE(isDelivered());
    EXPECT_TRUE(lastCall().contains(u"'a <b>\\nc', @as []"_s) ||
                lastCall().contains(u"'a <b>\\nc', []"_s))
        << qPrintable(lastCall());
}

TEST_F(BusNotifierTest, whereEveryChoiceBecomesAButtonThereIsOneAllTheSame) {
    serve(NotificationService::withButtons +
          QStringList{
              u"--answer=GetServerInformation=('Xfce Notify Daemon', 'Xfce', '0.9.7', '1.2')"_s});
    notify();
    ASSERT_TRUE(isDelivered());
    EXPECT_TRUE(lastCall().contains(u", ['show', 'Do it'], "_s)) << qPrintable(lastCall());
}

TEST_F(BusNotifierTest, theButtonAndTheNotificationItselfAreOneChoice) {
    serve();
    notify();
    ASSERT_TRUE(isDelivered());
    service->signal(u"ActionInvoked (uint32 7, 'show')"_s);
    EXPECT_TRUE(eventually([this] { return happened == u"chosen "; }));
    service->signal(u"ActionInvoked (uint32 7, 'default')"_s);
    EXPECT_TRUE(eventually([this] { return happened == u"chosen chosen "; }));
}

TEST_F(BusNotifierTest, othersNotificationsAndWhatIsNoSuchSignalAreNoChoice) {
    serve();
    notify();
    ASSERT_TRUE(isDelivered());
    service->signal(u"ActionInvoked (uint32 8, 'show')"_s);
    service->signal(u"ActionInvoked ('7', 'show')"_s);
    service->signal(u"ActionInvoked (uint32 7, uint32 7)"_s);
    service->signal(u"ActionInvoked (uint32 7, 'show')"_s);
    EXPECT_TRUE(eventually([this] { return !happened.isEmpty(); }));
    EXPECT_EQ(happened, u"chosen ");
}

TEST_F(BusNotifierTest, aTokenEntitlesJustThatChoice) {
    serve();
    notify();
    ASSERT_TRUE(isDelivered());
    service->signal(u"ActivationToken (uint32 7, 'abc')"_s);
    service->signal(u"ActionInvoked (uint32 7, 'show')"_s);
    EXPECT_TRUE(eventually([this] { return happened == u"<abc> chosen <> "; }));
    service->signal(u"ActionInvoked (uint32 7, 'show')"_s);
    EXPECT_TRUE(eventually([this] { return happened == u"<abc> chosen <> chosen "; }));
}

TEST_F(BusNotifierTest, aServiceThatStartsLaterGetsWhatNobodyHasShown) {
    notify();
    notify(u"the latest"_s);
    serve();
    ASSERT_TRUE(isDelivered());
    EXPECT_TRUE(lastCall().contains(u"'the latest'"_s));
    EXPECT_EQ(service->notices().size(), 1);
}

TEST_F(BusNotifierTest, aServiceThatComesBackIsNotToldAgain) {
    serve();
    notify();
    ASSERT_TRUE(isDelivered());
    service.reset();
    serve();
    notify(u"another"_s);
    ASSERT_TRUE(isDelivered(2));
    EXPECT_EQ(service->notices().size(), 2);
    EXPECT_TRUE(lastCall().contains(u"('Corvid', 0,"_s)) << "in place of nothing";
}

TEST_F(BusNotifierTest, aSecondOneTakesThePlaceOfTheFirst) {
    serve();
    notify();
    ASSERT_TRUE(isDelivered());
    notify(u"another"_s);
    ASSERT_TRUE(isDelivered(2));
    EXPECT_TRUE(lastCall().contains(u"('Corvid', 7,"_s)) << qPrintable(lastCall());
}

TEST_F(BusNotifierTest, aServiceThatAnswersOtherwiseShowsNothing) {
    serve({u"--answer=GetCapabilities=(7,)"_s});
    notify();
    EXPECT_TRUE(eventually([this] { return !lastCall().isEmpty(); }));
    service.reset();
    serve({NotificationService::withEverything.first(), u"--answer=Notify=('7',)"_s});
    EXPECT_TRUE(eventually([this] { return lastCall().contains(u".Notify "_s); }));
    service.reset();
    serve();
    EXPECT_TRUE(isDelivered()) << "from one that can";
    EXPECT_EQ(delivered, 1);
}

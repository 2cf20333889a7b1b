// The notification centre, target/action and the shared image provider.
#include <Pavo/PavoUI.h>

#include <QImage>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

namespace {

class Receiver : public QObject {
    Q_OBJECT
public:
    QList<QObject*> senders;
    int plainCalls = 0;
    Q_INVOKABLE void takeControl(PvControl* sender) { senders << sender; }
    Q_INVOKABLE void takeObject(QObject* sender) { senders << sender; }
    Q_INVOKABLE void takeNothing() { ++plainCalls; }
    Q_INVOKABLE void takeTwo(QObject*, int) { ++plainCalls; }
};

class ReceiverWidget : public QWidget {
    Q_OBJECT
public:
    int calls = 0;
    Q_INVOKABLE void takeControl(PvControl*) { ++calls; }
};

} // namespace

TEST(NotificationCenter, DeliversByNameAndObjectInOrder)
{
    auto* center = PvNotificationCenter::defaultCenter();
    ASSERT_EQ(center, PvNotificationCenter::defaultCenter());
    QObject owner;
    int a = 0, b = 0;
    QStringList order;
    QVariantMap seenInfo;
    center->addObserver(&owner, PvStartTrackingNotification, &a, [&](const PvNotification& n) {
        order << "a:" + n.name;
        seenInfo = n.userInfo;
    });
    center->addObserver(
        &owner, QString(), nullptr, [&](const PvNotification& n) { order << "any:" + n.name; });
    center->postNotification(PvStartTrackingNotification, &a, {{"k", 1}});
    center->postNotification(PvStartTrackingNotification, &b);
    center->postNotification(PvStopTrackingNotification, &a);
    EXPECT_EQ(order,
        QStringList({"a:StartTracking", "any:StartTracking", "any:StartTracking", "any:StopTracking"}));
    EXPECT_EQ(seenInfo.value("k").toInt(), 1);
    EXPECT_EQ(PvStartTrackingNotification, "StartTracking");
    EXPECT_EQ(PvStopTrackingNotification, "StopTracking");
    center->removeObserver(&owner);
    order.clear();
    center->postNotification(PvStartTrackingNotification, &a);
    EXPECT_TRUE(order.isEmpty());
}

TEST(NotificationCenter, DestroyedObserverIsNeverCalledAndHandlersMayUnregister)
{
    auto* center = PvNotificationCenter::defaultCenter();
    int calls = 0;
    {
        QObject gone;
        center->addObserver(&gone, "N", nullptr, [&](const PvNotification&) { ++calls; });
    }
    QObject owner;
    int selfRemoving = 0;
    int id = 0;
    id = center->addObserver(&owner, "N", nullptr, [&](const PvNotification&) {
        ++selfRemoving;
        center->removeObserver(id);
    });
    center->postNotification("N", nullptr);
    center->postNotification("N", nullptr);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(selfRemoving, 1);
    EXPECT_EQ(center->addObserver(nullptr, "N", nullptr, [](const PvNotification&) {}), 0);
}

TEST(NotificationCenter, QueuedPostWaitsForTheEventLoopAndCoalesces)
{
    auto* center = PvNotificationCenter::defaultCenter();
    QObject owner;
    int x = 0, y = 0;
    QList<int> values;
    center->addObserver(
        &owner, "Q", nullptr, [&](const PvNotification& n) { values << n.userInfo.value("v").toInt(); });
    center->enqueueNotification({"Q", &x, {{"v", 1}}});
    center->enqueueNotification({"Q", &y, {{"v", 2}}});
    center->enqueueNotification({"Q", &x, {{"v", 3}}}); // replaces the first, keeps its place
    EXPECT_TRUE(values.isEmpty());
    EXPECT_EQ(center->pendingNotificationCount(), 2);
    QTRY_COMPARE(values.size(), 2);
    EXPECT_EQ(values, QList<int>({3, 2}));
}

TEST(TargetAction, SendsOnlyWhenTheTargetAnswers)
{
    Receiver r;
    PvControl control;
    EXPECT_TRUE(pv_sendAction("takeControl", &r, &control));
    EXPECT_TRUE(pv_sendAction("takeObject", &r, &control));
    EXPECT_TRUE(pv_sendAction("takeNothing", &r, &control));
    EXPECT_EQ(r.senders, QList<QObject*>({&control, &control}));
    EXPECT_EQ(r.plainCalls, 1);
    // A sender that is not a PvControl does not fit takeControl; unknown names and methods
    // with other arguments are not answers.
    QObject plain;
    EXPECT_FALSE(pv_sendAction("takeControl", &r, &plain));
    EXPECT_FALSE(pv_sendAction("missing", &r, &control));
    EXPECT_FALSE(pv_sendAction("takeTwo", &r, &control));
    EXPECT_FALSE(pv_sendAction("", &r, &control));
    EXPECT_FALSE(pv_sendAction("takeObject", &r, nullptr));
    EXPECT_EQ(r.plainCalls, 1);
    EXPECT_TRUE(pv_respondsToAction(&r, "takeControl", &control));
    EXPECT_FALSE(pv_respondsToAction(&r, "takeControl", &plain));
}

TEST(TargetAction, NullTargetGoesAlongTheFocusChain)
{
    ReceiverWidget window;
    auto* inner = new QWidget(&window);
    auto* control = new PvControl(inner);
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    control->setFocus();
    EXPECT_TRUE(pv_sendAction("takeControl", nullptr, control));
    EXPECT_EQ(window.calls, 1);
    EXPECT_FALSE(pv_sendAction("missing", nullptr, control));

    Receiver r;
    control->setTarget(&r);
    control->setAction("takeControl");
    QSignalSpy spy(control, &PvControl::actionTriggered);
    EXPECT_TRUE(control->sendAction());
    control->setAction("missing");
    EXPECT_FALSE(control->sendAction());
    EXPECT_EQ(spy.count(), 2); // the signal is emitted either way
    EXPECT_EQ(r.senders, QList<QObject*>({control}));
}

namespace {

// A host provider: image 7 exists in states 0 and 3, drawn at twice the pixel density.
class HostProvider : public PvResourceProvider {
public:
    static int made;
    HostProvider() { ++made; }
    QPixmap imageForID(int32_t id, int state) override
    {
        if (id != 7 || (state != 0 && state != 3))
            return {};
        QImage img(20, 10, QImage::Format_ARGB32_Premultiplied);
        img.fill(state == 0 ? Qt::red : Qt::blue);
        QPixmap p = QPixmap::fromImage(img);
        p.setDevicePixelRatio(2.0);
        return p;
    }
};
int HostProvider::made = 0;

} // namespace

TEST(ResourceProvider, BaseDrawsNothingAndHostClassReplacesIt)
{
    PvResourceProvider::setDefaultResourceProviderClass(nullptr);
    PvResourceProvider* base = PvResourceProvider::defaultResourceProvider();
    ASSERT_NE(base, nullptr);
    EXPECT_EQ(base, PvResourceProvider::defaultResourceProvider());
    EXPECT_TRUE(base->imageForID(7).isNull());
    QImage canvas(40, 40, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::white);
    {
        QPainter p(&canvas);
        EXPECT_FALSE(base->drawImageWithID(7, p, QPointF(0, 0)));
    }
    EXPECT_EQ(canvas.pixelColor(1, 1), QColor(Qt::white));

    PvResourceProvider::setDefaultResourceProviderClass<HostProvider>();
    PvResourceProvider* host = PvResourceProvider::defaultResourceProvider();
    EXPECT_NE(dynamic_cast<HostProvider*>(host), nullptr);
    EXPECT_EQ(HostProvider::made, 1);
    PvResourceProvider::defaultResourceProvider();
    EXPECT_EQ(HostProvider::made, 1); // one shared instance
    EXPECT_TRUE(host->imageForID(kImage_None, 0).isNull());
    // Sizes are in points: the 20 x 10 pixel picture at ratio 2 is 10 x 5 points.
    EXPECT_EQ(host->imageSize(7), QSizeF(10, 5));
    EXPECT_TRUE(host->imageSize(7, 1).isEmpty());
    {
        QPainter p(&canvas);
        EXPECT_TRUE(host->drawImageWithID(7, 3, p, QPointF(4, 6)));
        EXPECT_FALSE(host->drawImageWithID(kImage_None, 0, p, QPointF(0, 0)));
    }
    EXPECT_EQ(canvas.pixelColor(4, 6), QColor(Qt::blue));
    EXPECT_EQ(canvas.pixelColor(13, 10), QColor(Qt::blue));
    EXPECT_EQ(canvas.pixelColor(14, 6), QColor(Qt::white)); // 10 points wide, not 20
    EXPECT_EQ(canvas.pixelColor(4, 11), QColor(Qt::white));
    PvResourceProvider::setDefaultResourceProviderClass(nullptr);
    EXPECT_EQ(dynamic_cast<HostProvider*>(PvResourceProvider::defaultResourceProvider()), nullptr);
}

namespace {

// Image 8: 20 x 10 points whose red channel is 10 x the point column; state 0 at ratio 1,
// state 1 at ratio 2 with the odd pixel columns green, so a blurred or shifted copy shows.
class StripProvider : public PvResourceProvider {
public:
    QPixmap imageForID(int32_t id, int state) override
    {
        if (id != 8)
            return {};
        const int ratio = state == 1 ? 2 : 1;
        QImage img(20 * ratio, 10 * ratio, QImage::Format_ARGB32_Premultiplied);
        for (int x = 0; x < img.width(); ++x)
            for (int y = 0; y < img.height(); ++y)
                img.setPixelColor(x, y, QColor(x / ratio * 10, ratio == 2 && x % 2 ? 255 : 0, 0));
        QPixmap p = QPixmap::fromImage(img);
        p.setDevicePixelRatio(ratio);
        return p;
    }
};

} // namespace

TEST(ResourceProvider, DrawsAPartOfAPictureAtRatioOneAndTwo)
{
    StripProvider provider;
    for (int ratio : {1, 2}) {
        SCOPED_TRACE(ratio);
        QImage canvas(40 * ratio, 20 * ratio, QImage::Format_ARGB32_Premultiplied);
        canvas.setDevicePixelRatio(ratio);
        canvas.fill(Qt::white);
        {
            QPainter p(&canvas);
            // Points 10 to 14 of the picture, drawn from point 3.
            EXPECT_TRUE(provider.drawImageWithID(8, ratio - 1, p, QPointF(3, 3), QRectF(10, 0, 5, 5)));
            // A part hanging off the left edge: what remains stays where it would have been.
            EXPECT_TRUE(provider.drawImageWithID(8, ratio - 1, p, QPointF(20, 10), QRectF(-2, 0, 5, 5)));
            EXPECT_FALSE(provider.drawImageWithID(8, ratio - 1, p, QPointF(0, 0), QRectF(30, 0, 5, 5)));
            EXPECT_TRUE(provider.drawImageWithID(8, ratio - 1, p, QPointF(30, 0), QRectF(0, 0, 1, 1),
                QPainter::CompositionMode_SourceOver, 0.5));
        }
        auto at = [&](int px, int py) { return canvas.pixelColor(px, py); };
        for (int k = 0; k < 5; ++k) {
            EXPECT_EQ(at((3 + k) * ratio, 3 * ratio).red(), (10 + k) * 10) << k;
            if (ratio == 2) { // pixel for pixel: even columns without green, odd ones with
                EXPECT_EQ(at((3 + k) * 2, 6).green(), 0) << k;
                EXPECT_EQ(at((3 + k) * 2 + 1, 6).green(), 255) << k;
            }
        }
        EXPECT_EQ(at(8 * ratio, 3 * ratio), QColor(Qt::white)); // 5 points wide
        EXPECT_EQ(at(3 * ratio, 8 * ratio), QColor(Qt::white)); // 5 points high
        EXPECT_EQ(at(21 * ratio, 10 * ratio), QColor(Qt::white));
        EXPECT_EQ(at(22 * ratio, 10 * ratio).red(), 0);
        EXPECT_EQ(at(24 * ratio, 10 * ratio).red(), 20);
        EXPECT_EQ(at(25 * ratio, 10 * ratio), QColor(Qt::white));
        EXPECT_NEAR(at(30 * ratio, 0).green(), 128, 2); // half black over white
    }
}

#include "FoundationsTest.moc"

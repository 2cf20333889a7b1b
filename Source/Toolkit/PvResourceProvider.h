// The shared image provider of the controls.
#pragma once

#include <QCache>
#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QPointF>

#include <cstdint>
#include <functional>
#include <memory>

/// Names a picture composed from provider pictures: the cacheKey() of two sources and
/// three numbers of the composing control's own.
struct PvComposedPictureKey {
    qint64 first = 0;
    qint64 second = 0;
    int a = 0;
    int b = 0;
    int c = 0;
    friend bool operator==(const PvComposedPictureKey&, const PvComposedPictureKey&) = default;
    friend size_t qHash(const PvComposedPictureKey& key, size_t seed = 0)
    {
        return qHashMulti(seed, key.first, key.second, key.a, key.b, key.c);
    }
};

/// The image ID that names no picture: a control given it draws the platform look instead.
inline constexpr int32_t kImage_None = -1;

/**
    Supplies the pictures of the controls, each named by an integer image ID and a small
    state (0 normal or unlit, 1 and 2 variant pictures, 3 lit or on).

    All control pictures come from the host: the base class answers every ID with a null
    pixmap and draws nothing. A host installs its own subclass with
    setDefaultResourceProviderClass() (usually once at start-up); controls then ask
    defaultResourceProvider() every time they draw.

    Pixmaps may carry a device pixel ratio above 1 (a 2x picture for a high-density
    screen): every size here is in device-independent points, i.e. the pixmap's
    deviceIndependentSize(), and drawing places the picture at that size.

    The provider object is owned by this class. Main thread only.
*/
class PvResourceProvider {
public:
    using Factory = std::function<std::unique_ptr<PvResourceProvider>()>;

    PvResourceProvider() = default;
    virtual ~PvResourceProvider();
    PvResourceProvider(const PvResourceProvider&) = delete;
    PvResourceProvider& operator=(const PvResourceProvider&) = delete;

    /// The shared provider, created on first use by the installed class (the base class
    /// when none was installed); never null.
    static PvResourceProvider* defaultResourceProvider();

    /// Installs the class of the shared provider. A provider made by the previous class is
    /// destroyed at once, so pointers to it must not be kept across this call; the next
    /// defaultResourceProvider() makes one of the new class. An empty factory restores
    /// the base class.
    static void setDefaultResourceProviderClass(Factory factory);
    template <class T> static void setDefaultResourceProviderClass()
    {
        setDefaultResourceProviderClass([] { return std::make_unique<T>(); });
    }

    /// The picture of imageID in state (0 to 3). The base class returns a null pixmap;
    /// subclasses return a null pixmap for IDs they do not have and for kImage_None.
    virtual QPixmap imageForID(int32_t imageID, int state);
    QPixmap imageForID(int32_t imageID) { return imageForID(imageID, 0); }

    /// The size in points of the picture, or an empty size when there is none.
    QSizeF imageSize(int32_t imageID, int state = 0);

    /// Draws the picture of imageID and state with its top-left corner at point (in the
    /// painter's coordinates, which grow downward) at its size in points. operation is the
    /// compositing operation, fraction the opacity from 0 (invisible) to 1 (clamped).
    /// Draws nothing when there is no picture. Returns whether something was drawn.
    bool drawImageWithID(int32_t imageID, int state, QPainter& painter, const QPointF& point,
        QPainter::CompositionMode operation = QPainter::CompositionMode_SourceOver, qreal fraction = 1.0);
    bool drawImageWithID(int32_t imageID, QPainter& painter, const QPointF& point)
    {
        return drawImageWithID(imageID, 0, painter, point);
    }

    /// Draws the part fromRect (in points, in the picture's own coordinates, top-left
    /// origin) of the picture with that part's top-left corner at point, at its size in
    /// points: how a level meter shows the lit length of its strip. The part is clipped to
    /// the picture (the clipped-off side moves point along, so what is drawn stays where
    /// it would have been); an empty fromRect means the whole picture. On a pixmap with a
    /// device pixel ratio of 2 the part covers twice as many pixels each way, so it stays
    /// sharp. Returns whether something was drawn.
    bool drawImageWithID(int32_t imageID, int state, QPainter& painter, const QPointF& point,
        const QRectF& fromRect, QPainter::CompositionMode operation = QPainter::CompositionMode_SourceOver,
        qreal fraction = 1.0);

    /// Draws the picture stretched into rect (the stretchable pictures of tracks and frames).
    bool drawImageWithID(int32_t imageID, int state, QPainter& painter, const QRectF& rect,
        QPainter::CompositionMode operation = QPainter::CompositionMode_SourceOver, qreal fraction = 1.0);

    /// The budget of composedPictures(), in KiB.
    static constexpr qsizetype kComposedPicturesKiB = 8192;

    /**
        Pictures that controls compose from this provider's pictures and draw again and
        again, such as a level meter's strip with its lit part: one copy instead of
        several. Keyed by the sources' cacheKey(), so a changed picture is composed anew;
        the cost of an entry is its size in KiB, and the least recently used go first
        once kComposedPicturesKiB is reached. The pictures go with the provider.
    */
    QCache<PvComposedPictureKey, QImage>& composedPictures() { return m_composedPictures; }

private:
    QCache<PvComposedPictureKey, QImage> m_composedPictures {kComposedPicturesKiB};
};

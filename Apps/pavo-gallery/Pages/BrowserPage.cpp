#include "PageKit.h"

#include <Pavo/PavoUI.h>

#include <QComboBox>
#include <QDir>
#include <QHBoxLayout>
#include <QLabel>
#include <QTemporaryDir>
#include <QVBoxLayout>

#include <cmath>
#include <memory>

namespace PavoGallery {

namespace {

// Writes a short tone: a decaying sine per channel, a fifth apart. A tagged tone also
// carries a basic tagging record with a few sample numbers in it.
void writeTone(const FSRef& folder, const QString& name, int channels, int bits, int rate, uint32_t type,
    double seconds, double hz, bool tagged = false)
{
    CAuFileIO io;
    if (io.CreateAndOpen(&folder, name, 0, channels, bits, rate, int32_t(type), nullptr) != 0)
        return;
    const int frames = int(seconds * rate);
    std::vector<float> samples(size_t(frames) * size_t(channels));
    for (int f = 0; f < frames; ++f)
        for (int c = 0; c < channels; ++c) {
            const double t = double(f) / rate;
            const double envelope = std::exp(-3.0 * t / seconds) * (0.4 + 0.5 * std::fabs(std::sin(6.0 * t)));
            samples[size_t(f) * size_t(channels) + size_t(c)]
                = float(envelope * std::sin(2.0 * M_PI * hz * (1.0 + 0.5 * c) * t));
        }
    io.WriteFloat(samples.data(), 0, frames);
    if (tagged) {
        tagging::BasicTaggingChunk record {};
        record.value1 = 1;
        record.value2 = uint32_t(frames);
        record.words[0] = 4;
        record.values[0] = uint32_t(rate);
        tagging::SwapBasicTaggingChunkToBig(&record); // the record is stored big-endian
        CChunkData chunk;
        chunk.mID = PvFourCC("basc");
        chunk.SetData(&record, sizeof(record));
        io.AddChunk(chunk, 0);
    }
    io.Close();
}

// The generated sample folder; removed with the page.
class SampleFolder : public QObject {
public:
    explicit SampleFolder(QObject* parent)
        : QObject(parent)
    {
        FSRef root {};
        if (!dir.isValid() || PathToFSRef(dir.path(), &root) != noErr)
            return;
        QDir(dir.path()).mkpath("Drums/Kicks");
        QDir(dir.path()).mkpath("Pads");
        FSRef drums {}, kicks {}, pads {};
        PathToFSRef(dir.filePath("Drums"), &drums);
        PathToFSRef(dir.filePath("Drums/Kicks"), &kicks);
        PathToFSRef(dir.filePath("Pads"), &pads);
        writeTone(root, "Bass 2.aif", 1, 16, 44100, PvFourCC("AIFF"), 0.8, 55);
        writeTone(root, "Bass 10.aif", 1, 24, 48000, PvFourCC("AIFF"), 0.5, 73);
        writeTone(root, "bell.wav", 2, 16, 44100, PvFourCC("WAVE"), 1.2, 660, true);
        writeTone(drums, "Snare.wav", 2, 16, 44100, PvFourCC("WAVE"), 0.3, 190);
        writeTone(kicks, "Kick 1.wav", 1, 16, 44100, PvFourCC("WAVE"), 0.4, 50);
        writeTone(kicks, "Kick 12.wav", 1, 16, 44100, PvFourCC("WAVE"), 0.4, 45);
        writeTone(pads, "Warm pad.aif", 2, 24, 48000, PvFourCC("AIFF"), 1.5, 220);
    }
    QTemporaryDir dir;
};

} // namespace

QWidget* browserPage()
{
    auto* demo = new QWidget;
    auto* folder = new SampleFolder(demo);
    auto* v = new QVBoxLayout(demo);
    auto* browser = new DfMetalBrowser;
    browser->setMinimumSize(540, 300);
    browser->setTitled(true);
    browser->setScrollAnimationDuration(0.25);
    browser->setHasHorizontalAutoScrolling(true);
    // A child of the browser: it goes after the browser's columns.
    auto* delegate = new PvFileSystemBrowserDelegate(folder->dir.path(), browser);
    browser->setDelegate(delegate);
    auto* inspector = new PvAudioFileInspectorView;
    browser->setFileInspectorView(inspector);
    browser->setReleasesFileInspectorView(true);
    // Start on the generated folder with a sound selected, so its inspector shows: the
    // folder is listed in the background, so the sound is selected when its rows arrive.
    auto first = std::make_shared<QMetaObject::Connection>();
    *first = QObject::connect(
        delegate, &PvFileSystemBrowserDelegate::listingFinished, browser, [browser, folder, first] {
            QObject::disconnect(*first);
            browser->selectCellWithAbsolutePath(
                QDir(folder->dir.path()).filePath("bell.wav"), browser->matrixInColumn(0));
        });
    browser->loadColumnZero();

    auto* h = new QHBoxLayout;
    auto* root = new QComboBox;
    root->addItems({"Generated samples", "Home folder"});
    root->setAccessibleName("Browsed folder");
    QObject::connect(root, &QComboBox::currentIndexChanged, browser, [browser, delegate, folder](int index) {
        delegate->setRootPath(index == 0 ? folder->dir.path() : QDir::homePath());
        browser->loadColumnZero();
    });
    h->addWidget(new QLabel("Folder:"));
    h->addWidget(root);
    h->addStretch(1);
    v->addLayout(h);
    v->addWidget(browser, 1);
    return makePage("Column browser",
        "Folders in columns: arrows move between and within columns, the splitter under each scroller "
        "resizes its column, an audio file shows its format, chunks and waveform.",
        demo, nullptr);
}

} // namespace PavoGallery

// A column browser over folders of the file system, and an inspector for audio files.
#pragma once

#include "DfBrowserControl.h"

#include <QFileIconProvider>
#include <QHash>
#include <QPointer>
#include <QString>
#include <QVector>

#include <memory>
#include <vector>

struct PvFolderListing;

/**
    Fills a column browser with the entries of folders: column 0 lists the root folder,
    each later column the folder selected in the column before it. Entries are sorted as
    a file manager sorts them (numbers by value, letters without regard to case), folders
    are branches, every row carries its absolute path and the icon of Qt's icon provider
    (files share the icon of their suffix; files without one get the plain file icon).
    Hidden entries are left out unless asked for. Audio files are recognised by the
    framework's file naming rules.

    Folders are listed off the main thread, one at a time, by a worker thread the delegate
    owns: reading the folder, finding which entries are folders, recognising audio names
    and sorting happen there; the rows, cells and icons are made on the main thread. A
    column whose folder is not listed yet shows one disabled row, loadingText(). When the
    listing arrives (through the main thread's event loop) the column is reloaded with
    DfBrowserControl::reloadColumn(), but only if the browser still exists, still has the
    delegate, and the column still is the one made for that folder; otherwise the rows
    are not shown. listingFinished() is emitted after that, in every case. The browser
    selects only among rows it has (setPath, selectCellWithAbsolutePath): a host that
    selects in a new column does so when listingFinished() announces its folder.

    Finished listings are kept (the last few folders) and a new column of the same folder
    uses one at once while the folder's modification time is the one it had when it was
    listed, and the listing began at least a second after that time (a folder changed
    in the same moment it was read is listed again). Navigating to a folder whose entries
    were added, removed or renamed since therefore lists it again; refresh() forgets every
    kept listing, for changes a folder's time does not show.

    Destroying the delegate stops its worker at the next entry and waits for it; listings
    not yet delivered are dropped. The worker touches neither the delegate nor any browser.
    The delegate itself is used on the main thread only. Destroy or detach (setDelegate)
    the browsers using it before the delegate.
*/
class PvFileSystemBrowserDelegate : public QObject, public DfBrowserControlDelegate {
    Q_OBJECT
public:
    explicit PvFileSystemBrowserDelegate(const QString& rootPath = QString(), QObject* parent = nullptr);
    ~PvFileSystemBrowserDelegate() override;

    QString rootPath() const { return m_rootPath; }
    void setRootPath(const QString& path) { m_rootPath = path; }
    bool showsHiddenFiles() const { return m_showsHidden; }
    /// Takes effect for columns made afterwards (reload them to apply it).
    void setShowsHiddenFiles(bool shows) { m_showsHidden = shows; }

    /// The folder column lists: the root for column 0, else the selected folder of the
    /// column before; empty when there is none.
    QString folderOfColumn(DfBrowserControl* browser, int column) const;
    /// The names of folder's visible entries in the order the browser shows them, listed
    /// at once on the calling thread.
    QStringList sortedEntries(const QString& folder) const;
    /// Whether name is an audio file by the framework's naming rules.
    static bool isAudioFileName(const QString& name);

    /// Whether columns wait for a listing of folder (with the current hidden-files
    /// choice): true from the column's creation until the listing is received.
    bool isListing(const QString& folder) const;
    /// How many folders columns wait for.
    int pendingListingCount() const { return int(m_waiting.size()); }
    /// Forgets the kept listings: every folder is listed again for its next column.
    void refresh();
    /// The text of the disabled row a column shows while its folder is listed.
    static QString loadingText();

    void dfbrowserCreateRowsForColumn(DfBrowserControl* browser, int column, PvMatrix* matrix) override;
    std::optional<bool> dfbrowserShouldShowFileInspectorView(DfBrowserControl* browser) override;
    std::optional<bool> dfbrowserWriteRowsWithIndexes(
        DfBrowserControl* browser, const QList<int>& rows, int column, QMimeData* data) override;

signals:
    /// A listing of folder arrived and the columns still waiting for it were reloaded.
    void listingFinished(const QString& folder);

private:
    struct Request {
        QPointer<DfBrowserControl> browser;
        int column = 0;
        QPointer<PvMatrix> matrix;
    };
    class Worker;
    QString keyOf(const QString& folder, bool hidden) const;
    std::shared_ptr<const PvFolderListing> keptListing(const QString& key);
    void fill(PvMatrix* matrix, const PvFolderListing& listing);
    void showPlaceholder(PvMatrix* matrix);
    void receive(const std::shared_ptr<const PvFolderListing>& listing);

    QString m_rootPath;
    bool m_showsHidden = false;
    QFileIconProvider m_icons;
    std::unique_ptr<Worker> m_worker;
    QHash<QString, QList<Request>> m_waiting; // by key: the columns waiting for a listing
    std::vector<std::shared_ptr<const PvFolderListing>> m_kept; // most recently used first
    std::shared_ptr<const PvFolderListing> m_arriving; // the listing being delivered
};

/**
    Shows what an audio file holds: container, channels, rate, bit depth, length, byte
    order, the metadata chunks present, the basic loop-tagging record ('basc') when the
    file carries one, each field in host order under its name in the record with its byte
    offset (what the values mean is the tagging application's business), and an overview
    of its waveform (the peak of each stretch of samples, per channel). Lines too long for
    the view's width wrap, between words where possible.
*/
class PvAudioFileInspectorView : public PvAbstractFileInspectorView {
    Q_OBJECT
public:
    explicit PvAudioFileInspectorView(QWidget* parent = nullptr);
    void setAbsolutePath(const QString& path) override;

    /// The lines of facts shown, as "label: value".
    QStringList facts() const { return m_facts; }
    /// Per channel, the peak (0..1) of each of the overview's stretches.
    const QVector<QVector<float>>& overview() const { return m_overview; }
    bool isReadable() const { return m_readable; }
    QSize sizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void read();
    QStringList m_facts;
    QVector<QVector<float>> m_overview;
    bool m_readable = false;
};

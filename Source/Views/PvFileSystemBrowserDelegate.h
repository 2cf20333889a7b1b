// A column browser over folders of the file system, and an inspector for audio files.
#pragma once

#include "DfBrowserControl.h"

#include <QFileIconProvider>
#include <QString>
#include <QVector>

/**
    Fills a column browser with the entries of folders: column 0 lists the root folder,
    each later column the folder selected in the column before it. Entries are sorted as
    a file manager sorts them (numbers by value, letters without regard to case), folders
    are branches, every row carries its absolute path and the icon of Qt's icon provider.
    Hidden entries are left out unless asked for. Audio files are recognised by the
    framework's file naming rules.
*/
class PvFileSystemBrowserDelegate : public DfBrowserControlDelegate {
public:
    explicit PvFileSystemBrowserDelegate(const QString& rootPath = QString());

    QString rootPath() const { return m_rootPath; }
    void setRootPath(const QString& path) { m_rootPath = path; }
    bool showsHiddenFiles() const { return m_showsHidden; }
    void setShowsHiddenFiles(bool shows) { m_showsHidden = shows; }

    /// The folder column lists: the root for column 0, else the selected folder of the
    /// column before; empty when there is none.
    QString folderOfColumn(DfBrowserControl* browser, int column) const;
    /// The names of folder's visible entries in the order the browser shows them.
    QStringList sortedEntries(const QString& folder) const;
    /// Whether name is an audio file by the framework's naming rules.
    static bool isAudioFileName(const QString& name);

    void dfbrowserCreateRowsForColumn(DfBrowserControl* browser, int column, PvMatrix* matrix) override;
    std::optional<bool> dfbrowserShouldShowFileInspectorView(DfBrowserControl* browser) override;
    std::optional<bool> dfbrowserWriteRowsWithIndexes(
        DfBrowserControl* browser, const QList<int>& rows, int column, QMimeData* data) override;

private:
    QString m_rootPath;
    bool m_showsHidden = false;
    QFileIconProvider m_icons;
};

/**
    Shows what an audio file holds: container, channels, rate, bit depth, length, byte
    order, the metadata chunks present, whether it carries loop tagging, and an overview of
    its waveform (the peak of each stretch of samples, per channel).
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

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void read();
    QStringList m_facts;
    QVector<QVector<float>> m_overview;
    bool m_readable = false;
};

#include "widgets/parts/LocalFiles.h"

#include <QFile>
#include <QFileDialog>
#include <QMimeData>
#include <QUrl>

#include "widgets/parts/text/Texts.h"

namespace tovri {
namespace {

std::filesystem::path pathOf(const QString& file) {
    return QFile::encodeName(file).toStdString();
}

}  // namespace

void chooseLocalFiles(QWidget& parent, const FileChooser& chooser, std::function<void(LocalPaths)> chosen) {
    auto* dialog = new QFileDialog(&parent, textOf(chooser.message.empty() ? chooser.confirmLabel : chooser.message));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    const bool isFolder = chooser.target == FileChooser::Target::folder;
    dialog->setFileMode(isFolder ? QFileDialog::Directory : QFileDialog::ExistingFiles);
    dialog->setOption(QFileDialog::ShowDirsOnly, isFolder);
    dialog->setLabelText(QFileDialog::Accept, titleOf(chooser.confirmLabel));
    QObject::connect(dialog, &QFileDialog::filesSelected, &parent,
                     [chosen = std::move(chosen)](const QStringList& files) {
                         LocalPaths paths;
                         for (const QString& file : files) paths.push_back(pathOf(file));
                         if (!paths.empty()) chosen(std::move(paths));
                     });
    dialog->open();
}

LocalPaths localFilesOf(const QMimeData& data) {
    LocalPaths paths;
    for (const QUrl& address : data.urls())
        if (address.isLocalFile()) paths.push_back(pathOf(address.toLocalFile()));
    return paths;
}

}  // namespace tovri

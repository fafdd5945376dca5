#pragma once

#include "Classes/PrefPane/PXUncompressorController.h"
#include "Classes/PrefPane/UncompressView.h"
#include "Platform/Fake/FakeProcesses.h"
#include "Tests/Classes/PrefPane/ExclusionsFixture.h"
#include "Tests/Support/CompressedSample.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/WaitFor.h"

#include <QLabel>
#include <QMimeData>
#include <QPushButton>
#include <QUrl>

#include <unistd.h>

/// The page of the drop zone in a window, with real files and a real exclusion list; its process belongs to the groups
/// of its files.
class UncompressorFixture : public ExclusionsFixture
{
protected:
    UncompressorFixture()
    {
        processes.groups = {::getegid()};
        storePaths({});
        load();
        view = new UncompressView(&window);
        uncompressor = new PXUncompressorController;
        uncompressor->setExclusionsController(controller.get());
        view->follow(uncompressor);
        window.layout()->addWidget(view);
        window.resize(700, 700);
        QCoreApplication::processEvents();
        box = find<DVBox>("uncompressBox");
        label = find<QLabel>("dragTextField");
    }
    ~UncompressorFixture() override
    {
        delete view;
        std::filesystem::remove_all(folder);
    }

    template <class Widget>
    Widget *find(const char *name) const
    {
        auto *const found = window.findChild<Widget *>(QString::fromLatin1(name));
        if (!found)
            throw std::runtime_error(std::string("no ") + name);
        return found;
    }

    Bytes make(const std::string &name, std::size_t size = 5000)
    {
        std::filesystem::create_directories((folder / name).parent_path());
        const Bytes content = CompressedSample::text(size);
        CompressedSample::make(folder / name, content);
        return content;
    }
    bool isExpanded(const std::string &name) const { return std::filesystem::file_size(folder / name) > 0; }
    std::string labelText() const { return label->text().toStdString(); }
    bool drop(const std::vector<Path> &dropped)
    {
        QMimeData data;
        QList<QUrl> urls;
        for (const Path &path : dropped)
            urls.append(QUrl::fromLocalFile(QString::fromStdString(path.native())));
        data.setUrls(urls);
        return box->performDragOperation(data);
    }

    /// Waits for the end of a run and answers its sheet, which it closes.
    std::string untilFinished()
    {
        std::string alert;
        waitFor([&] { return !(alert = takeAlert()).empty(); }, 60000);
        return alert;
    }

    static constexpr const char *kFinished = "Finished|Tamsel finished uncompressing all compressed files dragged.|OK";
    static constexpr const char *kAtRest = "Drag files or folders here to uncompress them";
    static constexpr const char *kWorking = "Uncompressing, please wait";

    Path folder = PrivateHome::current().makeFolder("dropped");
    FakeProcesses processes;
    Override<Processes> processesInPlace{processes};
    UncompressView *view = nullptr;
    PXUncompressorController *uncompressor = nullptr;
    DVBox *box = nullptr;
    QLabel *label = nullptr;
};

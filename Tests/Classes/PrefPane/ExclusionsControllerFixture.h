#pragma once

#include "Tests/Classes/PrefPane/ExclusionsFixture.h"

#include <QMimeData>
#include <QUrl>

/// The controller of both lists with its tables, as a user drives them.
class PXExclusionsControllerTest : public ExclusionsFixture
{
protected:
    void writeDefaults()
    {
        writeFile(bundle / "Contents/Resources/defaultExcludedPaths.plist", listText({"/default"}));
        writeFile(bundle / "Contents/Resources/defaultExcludedExtensions.plist", listText({"dmg", "zip"}));
    }
    bool drop(DVTableView *table, const std::vector<std::string> &files, const QObject *source = nullptr)
    {
        QMimeData data;
        QList<QUrl> urls;
        for (const std::string &file : files)
            urls.append(QUrl::fromLocalFile(QString::fromStdString(file)));
        data.setUrls(urls);
        EXPECT_TRUE(controller->tableViewValidateDrop(*table, data));
        return controller->tableViewAcceptDrop(*table, data, source);
    }
    /// The selection goes with the entries, whatever their rows.
    void select(DVTableView *table, const std::vector<std::string> &texts)
    {
        auto *const arranged = static_cast<ExclusionsArrayController *>(table->model());
        ExclusionEntries entries;
        for (const ExclusionEntry &entry : arranged->arrangedObjects()) {
            if (std::find(texts.begin(), texts.end(), entry->toStdString()) != texts.end())
                entries.push_back(entry);
        }
        arranged->setSelectedObjects(entries);
    }
    void edit(const std::string &text)
    {
        select(extensions, {text});
        extensions->edit(extensions->model()->index(extensions->selectedRowIndexes().at(0), 0));
    }
};

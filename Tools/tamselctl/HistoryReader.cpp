#include "Tools/tamselctl/HistoryReader.h"

#include "Classes/PrefPane/HistoryStore.h"
#include "Platform/Bundle.h"

static Result<HistoryModel> readModel()
{
    const auto bundle = Bundles::current().main();
    if (!bundle)
        return bundle.failure();
    const auto file = bundle->resource(HistoryModel::kResourceName, HistoryModel::kResourceType);
    if (!file)
        return Failure{ErrorCode::NotFound, 0, "the data model is missing in " + bundle->path().native()};
    return HistoryModel::read(*file);
}

static Result<HistorySummary> readStore(const Path &path, const HistoryModel &model)
{
    const auto store = HistoryStore::open(path, model);
    if (!store && store.failure().code == ErrorCode::NotFound)
        return HistorySummary();
    if (!store)
        return store.failure();
    const HistoryPredicate isEnabled{HistoryModel::kEnabled, true};
    const HistoryPredicate isDisabled{HistoryModel::kEnabled, false};
    auto folders = (*store)->records(&isEnabled);
    if (!folders)
        return folders.failure();
    const auto total = (*store)->sumOfSavings(nullptr);
    if (!total)
        return total.failure();
    const auto previous = (*store)->sumOfSavings(&isDisabled);
    if (!previous)
        return previous.failure();
    auto refusals = (*store)->refusals();
    if (!refusals)
        return refusals.failure();
    return HistorySummary{std::move(*folders), *total, *previous, std::move(*refusals)};
}

Result<HistorySummary> HistorySummary::read(const Path &path)
{
    const auto model = readModel();
    if (!model)
        return model.failure();
    auto summary = readStore(path, *model);
    if (summary)
        return summary;
    Failure failure = summary.failure();
    failure.context = path.native() + ": " + failure.context;
    return failure;
}

#include "Platform/PropertyList.h"
#include "Tests/Support/PrivateHome.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdio>
#include <fstream>
#include <iterator>

#include <sys/wait.h>

namespace fs = std::filesystem;

static Bytes contentOf(const Path &path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

static void put(const Path &path, ByteView content)
{
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char *>(content.data()), long(content.size()));
}

static std::string hexadecimal(ByteView bytes)
{
    std::string text;
    for (const std::uint8_t byte : bytes) {
        for (const int digit : {byte >> 4, byte & 0xF})
            text += "0123456789abcdef"[digit];
    }
    return text;
}

/// What the list holds, in the words of the program that it is compared with.
static std::string dump(const PropertyList &list)
{
    if (const auto *const value = list.as<bool>())
        return "bool " + std::to_string(int(*value)) + "\n";
    if (const auto *const value = list.as<PropertyListInteger>())
        return "integer " +
               (value->isNegative ? std::to_string(std::int64_t(value->bits)) : std::to_string(value->bits)) + "\n";
    if (const auto *const value = list.as<double>()) {
        char digits[20] = {};
        std::snprintf(digits, sizeof digits, "%016llx", std::bit_cast<unsigned long long>(*value));
        return "real " + std::string(digits) + "\n";
    }
    if (const auto *const value = list.as<std::string>())
        return "string " + hexadecimal(bytesOf(*value)) + "\n";
    if (const auto *const value = list.as<Bytes>())
        return "data " + hexadecimal(*value) + "\n";
    if (const auto *const value = list.as<PropertyListDate>())
        return "date " + std::to_string(std::int64_t(value->seconds)) + "\n";
    std::string text;
    if (const auto *const array = list.as<PropertyList::Array>()) {
        text = "array " + std::to_string(array->size()) + "\n";
        for (const PropertyList &element : *array)
            text += dump(element);
    } else {
        const auto &dictionary = *list.as<PropertyList::Dictionary>();
        text = "dictionary " + std::to_string(dictionary.size()) + "\n";
        for (const auto &[key, value] : dictionary)
            text += dump(key) + dump(value);
    }
    return text;
}

/// Runs the other program; what it prints.
static std::string run(const std::string &arguments)
{
    FILE *const pipe =
        ::popen(("'" TAMSEL_SOURCES "/Tests/Platform/propertylists' " + arguments + " 2>&1").c_str(), "r");
    std::string text;
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe))
        text += char(c);
    const int status = ::pclose(pipe);
    EXPECT_EQ(status, 0) << text;
    return text;
}

TEST(PropertyListComparison, listsOfAnotherWriter_areReadAndWrittenAlike)
{
    constexpr int kLists = 80;
    const Path folder = PrivateHome::current().makeFolder("lists");
    run("make '" + folder.native() + "' " + std::to_string(kLists));
    for (int number = 0; number < kLists; ++number) {
        const Path base = folder / std::to_string(number);
        const std::string expected = stringOf(contentOf(base.native() + ".txt"));
        for (const char *form : {".xml", ".bin"}) {
            const Result<PropertyList> list = PropertyList::parse(contentOf(base.native() + form));
            ASSERT_TRUE(list) << number << form << ": " << list.failure().context;
            ASSERT_EQ(dump(*list), expected) << number << form;
            const Result<Bytes> xml = list->toXml();
            const Result<Bytes> binary = list->toBinary();
            ASSERT_TRUE(xml && binary) << number << form;
            put(base.native() + ".ours.xml", *xml);
            put(base.native() + ".ours.bin", *binary);
        }
    }
    EXPECT_EQ(run("check '" + folder.native() + "'"), std::to_string(2 * kLists) + "\n");
}

TEST(PropertyListCorpus, damagedInputs_areAllRefused)
{
    int count = 0;
    for (const auto &entry : fs::directory_iterator(TAMSEL_SOURCES "/Tests/Corpus/PropertyList")) {
        const Result<PropertyList> list = PropertyList::parse(contentOf(entry.path()));
        EXPECT_FALSE(list) << entry.path();
        ++count;
    }
    EXPECT_GE(count, 30);
}

TEST(PropertyListCorpus, seedsOfTheFuzzer_areAllReadAndKept)
{
    int count = 0;
    for (const auto &entry : fs::directory_iterator(TAMSEL_SOURCES "/Fuzz/Corpus/PropertyList")) {
        const Result<PropertyList> list = PropertyList::parse(contentOf(entry.path()));
        ASSERT_TRUE(list) << entry.path() << ": " << list.failure().context;
        EXPECT_EQ(PropertyList::parse(*list->toBinary()).valueOr(false), *list) << entry.path();
        ++count;
    }
    EXPECT_GE(count, 6);
}

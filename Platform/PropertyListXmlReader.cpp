#include "Platform/PropertyListFormats.h"
#include "Platform/PropertyListXmlValues.h"

#include <memory>
#include <optional>

#include <expat.h>

using namespace PropertyListFormats;
using namespace PropertyListXmlValues;

namespace {

enum class Element { Plist, Dictionary, Array, Key, String, Integer, Real, True, False, Date, Data };

std::optional<Element> elementNamed(std::string_view name)
{
    constexpr std::pair<std::string_view, Element> kElements[] = {
        {"plist", Element::Plist},   {"dict", Element::Dictionary}, {"array", Element::Array}, {"key", Element::Key},
        {"string", Element::String}, {"integer", Element::Integer}, {"real", Element::Real},   {"true", Element::True},
        {"false", Element::False},   {"date", Element::Date},       {"data", Element::Data},
    };
    for (const auto &[known, element] : kElements) {
        if (name == known)
            return element;
    }
    return std::nullopt;
}

bool isContainer(Element element)
{
    return element == Element::Dictionary || element == Element::Array;
}

/// Whether text in the element means something.
bool isWritten(Element element)
{
    return !isContainer(element) && element != Element::Plist && element != Element::True && element != Element::False;
}

/// One pass of expat over the whole list. There are no entities but XML's five: a document type with declarations of
/// its own is refused, and so is a reference to any other entity.
class XmlReader
{
public:
    XmlReader()
        : m_parser(XML_ParserCreate(nullptr), XML_ParserFree)
    {
        if (!m_parser)
            return;
        XML_SetUserData(m_parser.get(), this);
        XML_SetElementHandler(m_parser.get(), started, ended);
        XML_SetCharacterDataHandler(m_parser.get(), met);
        XML_SetStartDoctypeDeclHandler(m_parser.get(), declared);
        XML_SetSkippedEntityHandler(m_parser.get(), skipped);
    }

    Result<PropertyList> read(ByteView bytes)
    {
        if (!m_parser)
            return Failure{ErrorCode::Io, ENOMEM, "property list: no memory for a parser"};
        const auto *const text = reinterpret_cast<const char *>(bytes.data());
        const XML_Status status = XML_Parse(m_parser.get(), text, int(bytes.size()), XML_TRUE);
        if (m_failure)
            return *m_failure;
        if (status != XML_STATUS_OK)
            return corrupt(XML_ErrorString(XML_GetErrorCode(m_parser.get())), offset());
        return std::move(*m_root);
    }

private:
    struct Frame
    {
        Element element;
        PropertyList::Array values;
        PropertyList::Dictionary entries;
        std::optional<std::string> key; ///< that waits for its value
    };

    static void started(void *self, const XML_Char *name, const XML_Char **attributes)
    {
        static_cast<XmlReader *>(self)->start(name, attributes);
    }

    static void ended(void *self, const XML_Char *) { static_cast<XmlReader *>(self)->end(); }

    static void met(void *self, const XML_Char *text, int length)
    {
        static_cast<XmlReader *>(self)->characters(std::string_view(text, std::size_t(length)));
    }

    static void declared(void *self, const XML_Char *name, const XML_Char *, const XML_Char *, int hasDeclarations)
    {
        if (hasDeclarations || std::string_view(name) != "plist")
            static_cast<XmlReader *>(self)->fail("a document type of another kind");
    }

    static void skipped(void *self, const XML_Char *name, int)
    {
        static_cast<XmlReader *>(self)->fail("unknown entity &" + std::string(name) + ";");
    }

    std::size_t offset() const
    {
        const XML_Index index = XML_GetCurrentByteIndex(m_parser.get());
        return index < 0 ? 0 : std::size_t(index);
    }

    void fail(const std::string &what, ErrorCode code = ErrorCode::Corrupt)
    {
        if (m_failure)
            return;
        m_failure = failureAt(code, what, offset());
        XML_StopParser(m_parser.get(), XML_FALSE);
    }

    void start(std::string_view name, const XML_Char **attributes)
    {
        if (m_failure)
            return;
        const std::optional<Element> element = elementNamed(name);
        if (!element)
            return fail("unknown element " + std::string(name));
        for (; *attributes; attributes += 2) {
            if (*element != Element::Plist || std::string_view(attributes[0]) != "version" ||
                std::string_view(attributes[1]) != "1.0")
                return fail("unknown attribute " + std::string(attributes[0]) + " or version");
        }
        if (const char *const reason = misplaced(*element))
            return fail(reason);
        if (isContainer(*element) && m_frames.size() > kMaximumDepth)
            return fail("more than 64 levels", ErrorCode::TooLarge);
        if (*element != Element::Plist && *element != Element::Key && ++m_values > kMaximumValues)
            return fail("more than 1,000,000 values", ErrorCode::TooLarge);
        m_frames.push_back({*element, {}, {}, {}});
        m_text.clear();
    }

    /// Why the element may not start here; nullptr when it may.
    const char *misplaced(Element element) const
    {
        if (m_frames.empty())
            return element == Element::Plist ? nullptr : "no plist element";
        const Frame &outer = m_frames.back();
        if (element == Element::Plist || (outer.element != Element::Plist && !isContainer(outer.element)))
            return "an element that may not stand here";
        if (outer.element == Element::Plist && m_root)
            return "a second value";
        const bool wantsKey = outer.element == Element::Dictionary && !outer.key;
        if (wantsKey != (element == Element::Key))
            return wantsKey ? "a value without a key" : "a key without a value";
        return nullptr;
    }

    void characters(std::string_view text)
    {
        if (m_failure)
            return;
        if (!m_frames.empty() && isWritten(m_frames.back().element))
            m_text.append(text);
        else if (!trimmed(text).empty())
            fail("text between the elements");
    }

    void end()
    {
        if (m_failure)
            return;
        Frame frame = std::move(m_frames.back());
        m_frames.pop_back();
        if (frame.element == Element::Plist) {
            if (!m_root)
                fail("no value");
        } else if (frame.element == Element::Key) {
            m_frames.back().key = std::move(m_text);
        } else if (frame.key) {
            fail("a key without a value");
        } else if (hasEqualKeys(frame.entries)) {
            fail("two equal keys in a dictionary");
        } else if (std::optional<PropertyList> value = valueOf(frame)) {
            add(std::move(*value));
        } else {
            fail("a malformed value");
        }
    }

    std::optional<PropertyList> valueOf(Frame &frame)
    {
        switch (frame.element) {
        case Element::Dictionary:
            return PropertyList(std::move(frame.entries));
        case Element::Array:
            return PropertyList(std::move(frame.values));
        case Element::True:
        case Element::False:
            return PropertyList(frame.element == Element::True);
        case Element::Integer:
            return integerOf(trimmed(m_text));
        case Element::Real:
            return realOf(trimmed(m_text));
        case Element::Date:
            return dateOf(trimmed(m_text));
        case Element::Data:
            return dataOf(m_text);
        default:
            return PropertyList(std::move(m_text));
        }
    }

    void add(PropertyList value)
    {
        Frame &outer = m_frames.back();
        if (outer.element == Element::Plist)
            m_root = std::move(value);
        else if (outer.element == Element::Array)
            outer.values.push_back(std::move(value));
        else
            outer.entries.emplace_back(std::move(*outer.key), std::move(value));
        outer.key.reset();
    }

    std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> m_parser;
    std::vector<Frame> m_frames;
    std::string m_text;
    std::size_t m_values = 0;
    std::optional<PropertyList> m_root;
    std::optional<Failure> m_failure;
};

} // namespace

Result<PropertyList> PropertyListFormats::readXml(ByteView bytes)
{
    return XmlReader().read(bytes);
}

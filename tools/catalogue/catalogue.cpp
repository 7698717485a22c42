#include "tools/catalogue/catalogue.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <string>

namespace catalogue {
namespace {

constexpr std::size_t kPieceInBytes = std::size_t{64} << 10;
constexpr std::uint32_t kEntriesInSection = 500;

constexpr std::array kWords{
    "amber",  "anchor", "basket",  "bellows", "bramble", "candle", "cellar", "cobalt",  "copper",  "crayon",
    "dynamo", "ember",  "feather", "flint",   "gable",   "garnet", "hinge",  "indigo",  "ivory",   "jasper",
    "kettle", "ladder", "lantern", "linen",   "marble",  "mortar", "nettle", "oak",     "ochre",   "paper",
    "pewter", "pivot",  "quarry",  "quill",   "ribbon",  "saddle", "sickle", "spindle", "thimble", "tinder",
    "trowel", "umber",  "vellum",  "walnut",  "whistle", "willow", "yarrow", "zinc",
};
constexpr std::array kMakers{
    "Abel & Sons", "Brunn Works",  "Café Orme",   "Dörfler",        "Eastgate Mill", "Fjord & Field",
    "Góra",        "Hollow Forge", "Île Atelier", "Juniper & Rust", "Kōbō 木工",     "Larkspur",
    "Møller",      "North Quay",   "Ostrów",      "Penhallow",      "Ridge & Vale",  "Søndergaard",
};
constexpr std::array kKinds{"tool", "vessel", "textile", "toy", "instrument"};
constexpr std::array kCurrencies{"EUR", "USD", "GBP", "JPY"};

// splitmix64: a few lines, the same numbers everywhere, which the library's distributions do not promise.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}
    std::uint32_t below(std::size_t bound) {
        state_ += 0x9E3779B97F4A7C15u;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return static_cast<std::uint32_t>((z >> 33) % bound);
    }
    template <class Table>
    auto pick(const Table& table) {
        return table[below(table.size())];
    }

private:
    std::uint64_t state_;
};

class Writer {
public:
    Writer(std::uint64_t seed, const std::function<void(std::string_view)>& write)
        : random_(seed), write_(write) {}

    [[nodiscard]] std::uint64_t length() const { return delivered_ + text_.size(); }

    void head() {
        put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<!-- Generated; every name in here is made up. -->\n"
            "<catalogue xmlns=\"urn:example:catalogue\" xmlns:s=\"urn:example:stock\" edition=\"7\">\n");
    }

    void openSection(std::uint32_t number) {
        put("  <section number=\"");
        put(number);
        put("\" title=\"");
        words(2);
        put("\">\n");
    }

    void entry(std::uint32_t number) {
        put("    <item id=\"i");
        put(number);
        put("\" kind=\"");
        put(random_.pick(kKinds));
        put("\" s:left=\"");
        put(random_.below(400));
        put("\">\n");
        line("title", [&] { words(2 + random_.below(4)); });
        line("maker", [&] { escaped(random_.pick(kMakers)); });
        price();
        tags();
        put("      <description>");
        sentences(1 + random_.below(5));
        put("</description>\n    </item>\n");
        if (text_.size() >= kPieceInBytes) deliver();
    }

    void closeSection() { put("  </section>\n"); }

    void tail() {
        put("</catalogue>\n");
        deliver();
    }

private:
    void put(std::string_view text) { text_ += text; }
    void put(std::uint32_t number) {
        std::array<char, 10> digits;
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
        text_.append(digits.data(), static_cast<std::size_t>(end - digits.data()));
    }

    void escaped(std::string_view text) {
        for (const char c : text) {
            if (c == '&')
                put("&amp;");
            else
                text_ += c;
        }
    }

    template <class Content>
    void line(std::string_view name, Content content) {
        put("      <");
        put(name);
        put(">");
        content();
        put("</");
        put(name);
        put(">\n");
    }

    void words(std::uint32_t count) {
        for (std::uint32_t i = 0; i < count; ++i) {
            if (i > 0) put(" ");
            put(random_.pick(kWords));
        }
    }

    void sentences(std::uint32_t count) {
        for (std::uint32_t i = 0; i < count; ++i) {
            if (i > 0) put(" ");
            put("A ");
            words(5 + random_.below(12));
            put(random_.below(8) == 0 ? " of 12 \xE2\x80\x93 15 cm." : ".");
        }
    }

    void price() {
        put("      <price currency=\"");
        put(random_.pick(kCurrencies));
        put("\">");
        put(1 + random_.below(900));
        put(".");
        put(10 + random_.below(90));
        put("</price>\n");
    }

    void tags() {
        put("      <tags>\n");
        for (std::uint32_t i = 1 + random_.below(4); i > 0; --i) {
            put("        <tag weight=\"");
            put(random_.below(10));
            put("\">");
            put(random_.pick(kWords));
            put("</tag>\n");
        }
        put("      </tags>\n");
    }

    void deliver() {
        write_(text_);
        delivered_ += text_.size();
        text_.clear();
    }

    Random random_;
    const std::function<void(std::string_view)>& write_;
    std::string text_;
    std::uint64_t delivered_ = 0;
};

}  // namespace

void generate(std::uint64_t lengthInBytes, std::uint64_t seed,
              const std::function<void(std::string_view)>& write) {
    Writer writer(seed, write);
    writer.head();
    std::uint32_t number = 0;
    for (std::uint32_t section = 1; section == 1 || writer.length() < lengthInBytes; ++section) {
        writer.openSection(section);
        do {
            writer.entry(++number);
        } while (number % kEntriesInSection != 0 && writer.length() < lengthInBytes);
        writer.closeSection();
    }
    writer.tail();
}

}  // namespace catalogue

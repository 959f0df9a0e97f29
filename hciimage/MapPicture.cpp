#include "hciimage/MapPicture.h"

#include <algorithm>

#include "util/FormatText.h"

namespace {

std::uint64_t LongestArea(const std::vector<MAP_ITEM>& items) {
    std::uint64_t longest = 1;
    for (const MAP_ITEM& item : items) {
        longest = std::max(longest, item.kind == MAP_ITEM::AREA ? item.size : 0);
    }
    return longest;
}

char LetterOf(std::uint32_t source) {
    return static_cast<char>('A' + source % 26);
}

// Text for XML: what is no printable ASCII could be half a character.
std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char character : text) {
        switch (character) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            default:
                escaped += character < ' ' || character > '~' ? '?' : character;
        }
    }
    return escaped;
}

// Places the items one below the other, and their labels beside them without overlapping.
class CSvgMap {
public:
    CSvgMap(const std::vector<MAP_ITEM>& items, const std::vector<std::string>& names)
        : m_Items(items), m_Names(names) {
        std::uint64_t total = 1;
        for (const MAP_ITEM& item : items) {
            total += item.kind == MAP_ITEM::OVERLAP || item.isFolded ? 0 : item.size;
        }
        m_fScale = 480.0 / static_cast<double>(total);
    }

    std::string Draw() {
        for (const MAP_ITEM& item : m_Items) {
            if (item.kind == MAP_ITEM::AREA) {
                DrawArea(item);
            } else if (item.kind == MAP_ITEM::GAP) {
                DrawGap(item);
            } else {
                DrawOverlap(item);
            }
        }
        return FormatText(
                   "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" "
                   "height=\"%.0f\" font-family=\"monospace\" font-size=\"12\">\n"
                   "<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n",
                   LABEL_LEFT + static_cast<double>(m_nLongestLabel) * CHARACTER_WIDTH,
                   std::max(m_fBottom, m_fLabelBottom) + 20) +
               m_strBlocks + m_strOverlaps + m_strLabels + "</svg>\n";
    }

private:
    static constexpr double BAR_LEFT = 20;
    static constexpr double BAR_WIDTH = 110;
    static constexpr double LABEL_LEFT = 170;
    static constexpr double LABEL_HEIGHT = 17;
    static constexpr double CHARACTER_WIDTH = 7.6;
    static constexpr double FOLDED_HEIGHT = 22;
    static constexpr double LEAST_HEIGHT = 1.5;

    void DrawArea(const MAP_ITEM& item) {
        static constexpr const char* COLOURS[] = {"#4c78a8", "#f58518", "#54a24b", "#b279a2",
                                                  "#eeca3b", "#72b7b2", "#9d755d", "#ff9da6"};
        const double height = HeightOf(item);
        m_strBlocks += Rectangle(m_fBottom, height, COLOURS[item.source % std::size(COLOURS)]);
        m_nAreaFirst = item.first;
        m_fAreaTop = m_fBottom;
        Label(item, m_fBottom + height / 2, "black");
        m_fBottom += height;
    }

    void DrawGap(const MAP_ITEM& item) {
        const double height = item.isFolded ? FOLDED_HEIGHT : HeightOf(item);
        if (item.isFolded) {
            const double middle = m_fBottom + height / 2;
            for (const double shift : {-3.0, 3.0}) {
                m_strBlocks += FormatText(
                    "<path d=\"M%.0f %.1f l27 -6 l28 6 l27 -6 l28 6\" "
                    "fill=\"none\" stroke=\"#888\"/>\n",
                    BAR_LEFT, middle + shift + 3);
            }
        }
        Label(item, m_fBottom + height / 2, "#777");
        m_fBottom += height;
    }

    // Over the area before it, which has been drawn.
    void DrawOverlap(const MAP_ITEM& item) {
        const double top = m_fAreaTop + static_cast<double>(item.first - m_nAreaFirst) * m_fScale;
        const double height = std::max(HeightOf(item), 3.0);
        m_strOverlaps += FormatText(
            "<rect x=\"%.0f\" y=\"%.1f\" width=\"%.0f\" height=\"%.1f\" "
            "fill=\"#d62728\" fill-opacity=\"0.55\" stroke=\"#d62728\" "
            "stroke-dasharray=\"4 2\"/>\n",
            BAR_LEFT - 8, top, BAR_WIDTH + 16, height);
        Label(item, top + height / 2, "#d62728");
    }

    double HeightOf(const MAP_ITEM& item) const {
        return std::max(static_cast<double>(item.size) * m_fScale, LEAST_HEIGHT);
    }

    static std::string Rectangle(double top, double height, const char* colour) {
        return FormatText(
            "<rect x=\"%.0f\" y=\"%.1f\" width=\"%.0f\" height=\"%.1f\" "
            "fill=\"%s\" stroke=\"white\" stroke-width=\"0.5\"/>\n",
            BAR_LEFT, top, BAR_WIDTH, height, colour);
    }

    void Label(const MAP_ITEM& item, double middle, const char* colour) {
        const double y = std::max(middle, m_fLabelBottom + LABEL_HEIGHT / 2);
        m_fLabelBottom = y + LABEL_HEIGHT / 2;
        const std::string text = ItemAddresses(item) + " " + ItemText(item, m_Names);
        m_nLongestLabel = std::max(m_nLongestLabel, text.size());
        m_strLabels +=
            FormatText("<path d=\"M%.0f %.1f L%.0f %.1f\" stroke=\"#bbb\"/>\n",
                       BAR_LEFT + BAR_WIDTH + 2, middle, LABEL_LEFT - 4, y) +
            FormatText("<text x=\"%.0f\" y=\"%.1f\" fill=\"%s\">", LABEL_LEFT, y + 4, colour) +
            Escaped(text) + "</text>\n";
    }

    const std::vector<MAP_ITEM>& m_Items;
    const std::vector<std::string>& m_Names;
    double m_fScale;
    double m_fBottom = 20;
    double m_fLabelBottom = 10;
    std::uint64_t m_nAreaFirst = 0;
    double m_fAreaTop = 20;
    std::size_t m_nLongestLabel = 0;
    std::string m_strBlocks;
    std::string m_strOverlaps;
    std::string m_strLabels;
};

}  // namespace

std::string MapText(const std::vector<MAP_ITEM>& items, const std::vector<std::string>& names) {
    constexpr std::uint64_t WIDTH = 40;
    const std::uint64_t longest = LongestArea(items);
    std::string text;
    for (const MAP_ITEM& item : items) {
        const std::uint64_t scaled =
            std::clamp<std::uint64_t>(item.size * WIDTH / longest, 1, WIDTH);
        const std::string bar = item.kind == MAP_ITEM::AREA
                                    ? std::string(scaled, LetterOf(item.source))
                                : item.kind == MAP_ITEM::OVERLAP ? std::string(scaled, '!')
                                : item.isFolded                  ? "~"
                                                                 : std::string(scaled, '.');
        text += ItemAddresses(item) + "  " + bar + std::string(WIDTH + 2 - bar.size(), ' ') +
                ItemText(item, names) + "\n";
    }
    return text;
}

std::string MapSvg(const std::vector<MAP_ITEM>& items, const std::vector<std::string>& names) {
    return CSvgMap(items, names).Draw();
}

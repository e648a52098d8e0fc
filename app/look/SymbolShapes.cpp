#include "app/look/SymbolShapes.h"

#include <QByteArray>
#include <QStringList>
#include <QXmlStreamReader>
#include <cmath>
#include <numbers>

namespace velmoran {

namespace {

/// The words and numbers of a path's data, one after the other.
class PathWords {
public:
    explicit PathWords(const QString& data) {
        QString spaced;
        for (const auto c : data) {
            if (c.isLetter()) {
                spaced += QLatin1Char(' ');
                spaced += c;
                spaced += QLatin1Char(' ');
            } else {
                spaced += c == QLatin1Char(',') ? QLatin1Char(' ') : c;
            }
        }
        words_ = spaced.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    }
    bool atEnd() const { return at_ >= words_.size(); }
    bool atLetter() const { return !atEnd() && words_[at_][0].isLetter(); }
    char16_t letter() { return atEnd() ? u'\0' : words_[at_++][0].unicode(); }
    double number() {
        bool isNumber = false;
        const double value = atEnd() ? 0 : words_[at_++].toDouble(&isNumber);
        isGood_ = isGood_ && isNumber;
        return value;
    }
    QPointF point() {
        const double x = number();
        return {x, number()};
    }
    bool isGood() const { return isGood_; }
    void fail() { isGood_ = false; }

private:
    QStringList words_;
    qsizetype at_ = 0;
    bool isGood_ = true;
};

/// From where the path stands to `end` on a circle of that radius.
void arcTo(QPainterPath& path, double radius, bool isLarge, bool isClockwise, const QPointF& end) {
    const QPointF start = path.currentPosition();
    const QPointF half = (end - start) / 2;
    const double chord = std::hypot(half.x(), half.y());
    if (chord == 0) {
        return;
    }
    radius = std::max(radius, chord);
    const double away = std::sqrt(radius * radius - chord * chord) / chord;
    const double side = isLarge == isClockwise ? 1 : -1;
    const QPointF center = start + half + side * away * QPointF(half.y(), -half.x());
    const auto angle = [&](const QPointF& point) {
        // As QPainterPath counts: counter-clockwise from three o'clock, in degrees.
        return std::atan2(center.y() - point.y(), point.x() - center.x()) * 180 / std::numbers::pi;
    };
    double sweep = angle(end) - angle(start);
    if (isClockwise && sweep > 0) {
        sweep -= 360;
    } else if (!isClockwise && sweep < 0) {
        sweep += 360;
    }
    path.arcTo(QRectF(center.x() - radius, center.y() - radius, 2 * radius, 2 * radius),
               angle(start), sweep);
}

void addStep(QPainterPath& path, PathWords& words, char16_t letter) {
    switch (letter) {
    case u'M':
        path.moveTo(words.point());
        break;
    case u'L':
        path.lineTo(words.point());
        break;
    case u'H':
        path.lineTo(words.number(), path.currentPosition().y());
        break;
    case u'V':
        path.lineTo(path.currentPosition().x(), words.number());
        break;
    case u'C': {
        const auto first = words.point();
        const auto second = words.point();
        path.cubicTo(first, second, words.point());
        break;
    }
    case u'A': {
        const auto radii = words.point();
        words.number(); // a circle can't be seen to be turned
        const bool isLarge = words.number() != 0;
        const bool isClockwise = words.number() != 0;
        const auto end = words.point();
        if (radii.x() != radii.y()) {
            words.fail();
        }
        arcTo(path, radii.x(), isLarge, isClockwise, end);
        break;
    }
    default:
        words.fail();
    }
}

/// Empty if it isn't understood.
QPainterPath pathOf(const QString& data) {
    PathWords words(data);
    QPainterPath path;
    while (!words.atEnd() && words.isGood()) {
        if (!words.atLetter()) {
            return {};
        }
        const auto letter = words.letter();
        if (letter == u'Z') {
            path.closeSubpath();
        } else {
            addStep(path, words, letter);
        }
    }
    return words.isGood() ? path : QPainterPath();
}

QPainterPath formOf(const QXmlStreamReader& reader) {
    const auto attributes = reader.attributes();
    const auto number = [&](const char* name) {
        return attributes.value(QLatin1String(name)).toDouble();
    };
    QPainterPath path;
    if (reader.name() == QLatin1String("path")) {
        path = pathOf(attributes.value(QLatin1String("d")).toString());
    } else if (reader.name() == QLatin1String("circle")) {
        path.addEllipse(QPointF(number("cx"), number("cy")), number("r"), number("r"));
    } else if (reader.name() == QLatin1String("rect")) {
        path.addRoundedRect(QRectF(number("x"), number("y"), number("width"), number("height")),
                            number("rx"), number("rx"));
    }
    return path;
}

/// An attribute of this element or, without it, of the outer one.
QString styleOf(const QXmlStreamAttributes& own, const QXmlStreamAttributes& outer,
                const char* name) {
    const QLatin1String key(name);
    return (own.hasAttribute(key) ? own : outer).value(key).toString();
}

} // namespace

std::vector<SymbolShape> symbolShapes(std::string_view svg) {
    QXmlStreamReader reader(QByteArray(svg.data(), static_cast<qsizetype>(svg.size())));
    std::vector<SymbolShape> result;
    QXmlStreamAttributes outer;
    int depth = 0;
    while (!reader.atEnd()) {
        const auto token = reader.readNext();
        if (token == QXmlStreamReader::EndElement) {
            --depth;
        }
        if (token != QXmlStreamReader::StartElement) {
            continue;
        }
        if (depth++ == 0) {
            outer = reader.attributes();
            if (outer.value(QLatin1String("viewBox")) != QLatin1String("0 0 24 24")) {
                return {};
            }
            continue;
        }
        SymbolShape shape{.path = formOf(reader)};
        if (shape.path.isEmpty()) {
            return {};
        }
        const auto style = [&](const char* name) {
            return styleOf(reader.attributes(), outer, name);
        };
        shape.isFilled = style("fill") == QLatin1String("currentColor");
        shape.lineWidth =
            style("stroke") == QLatin1String("currentColor") ? style("stroke-width").toDouble() : 0;
        shape.path.setFillRule(style("fill-rule") == QLatin1String("evenodd") ? Qt::OddEvenFill
                                                                              : Qt::WindingFill);
        result.push_back(std::move(shape));
    }
    return reader.hasError() ? std::vector<SymbolShape>() : result;
}

} // namespace velmoran

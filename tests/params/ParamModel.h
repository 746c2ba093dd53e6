// A plain model of parameter trees: lists searched from the front, recursion, texts by printf.
#pragma once

#include <ztlib/ZtPrimType.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace model {

inline std::string upper(std::string text) {
    for (char& c : text)
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    return text;
}

inline std::string upToBlank(const std::string& text) {
    return text.substr(0, text.find(' '));
}

inline int compare(const std::string& key, const std::string& stored) {
    return upper(key).compare(upper(upToBlank(stored)));
}

inline std::string mangled(const std::string& key) {
    return !key.empty() && key[0] >= '0' && key[0] <= '9' ? "_" + key : key;
}

inline std::vector<std::string> words(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> result;
    for (std::string word; stream >> word;)
        result.push_back(word);
    return result;
}

inline bool isInteger(const std::string& word) {
    const std::size_t sign = word[0] == '+' || word[0] == '-' ? 1 : 0;
    return word.size() > sign && word.find_first_not_of("0123456789", sign) == std::string::npos;
}

// Whether the runtime reads all of it as a number, where one may also begin with its exponent.
inline bool isReal(std::string word) {
    if (word.find_first_not_of("0123456789+-.eE") != std::string::npos)
        return false;
    const std::size_t sign = word[0] == '+' || word[0] == '-' ? 1 : 0;
    if (word[sign] == 'e' || word[sign] == 'E')
        word.insert(sign, "1");
    char* end = nullptr;
    std::strtod(word.c_str(), &end);
    return end == word.c_str() + word.size();
}

inline std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"' && (i == 0 || text[i - 1] != '\\'))
            result += '\\';
        result += text[i];
    }
    return result + (!text.empty() && text.back() == '\\' ? " \"" : "\"");
}

struct Model;
using Node = std::unique_ptr<Model>;

/// A parameter or a bundle. The operations do, word for word, what those of the library are
/// documented to do.
struct Model {
    explicit Model(std::string n, bool b = true) : isBundle(b), name(std::move(n)) {}

    static Node number(const std::string& name, ZtPrimType::Type type, std::vector<double> values) {
        auto node = std::make_unique<Model>(name, false);
        node->type = type;
        node->numbers = std::move(values);
        return node;
    }

    static Node string(const std::string& name, const std::string& text) {
        auto node = std::make_unique<Model>(name, false);
        node->text = text;
        return node;
    }

    int nBundles() const {
        return static_cast<int>(std::count_if(children.begin(), children.end(),
                                              [](const Node& child) { return child->isBundle; }));
    }

    void touch(int bits) {
        marks |= bits | 16;
        for (Model* above = owner; above != nullptr; above = above->owner)
            above->marks |= (bits & ~3) | (bits & 1 ? 4 : 0) | (bits & 2 ? 8 : 0) | 16;
    }

    void setName(const std::string& newName) {
        name = newName;
        if (owner != nullptr)
            owner->isSorted = false;
    }

    bool liesIn(const Model& top) const {
        return this == &top || (owner != nullptr && owner->liesIn(top));
    }

    std::string printed() const {
        std::string result = text;
        std::erase(result, '"');
        const char* const format = type == ZtPrimType::FLOAT ? "%.8g" : "%.12g";
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            char digits[64];
            std::snprintf(digits, sizeof digits, format, numbers[i]);
            result += (i > 0 ? " " : "") + std::string(digits);
        }
        return result;
    }

    void set(const Model& value) {
        touch(2);
        type = value.type;
        numbers = value.numbers;
        text = value.text;
    }

    void parse(const std::string& newText) {
        if (newText == printed())
            return;
        const std::vector<std::string> all = words(newText);
        bool areIntegers = !all.empty();
        bool areReals = !all.empty();
        std::vector<double> values;
        for (const std::string& word : all) {
            areIntegers = areIntegers && isInteger(word);
            areReals = areReals && isReal(word);
            values.push_back(std::atof(word.c_str()));
        }
        if (areIntegers) {
            for (double& value : values)
                value = std::clamp<double>(value, INT_MIN, INT_MAX);
            return set(*number("", ZtPrimType::INT, values));
        }
        for (double& value : values)
            value = static_cast<double>(static_cast<float>(value));
        set(*(areReals ? number("", ZtPrimType::FLOAT, values) : string("", newText)));
    }

    void assignParameter(const Model& other) {
        const bool areBothEmpty = type != ZtPrimType::STRING && other.type != ZtPrimType::STRING &&
                                  numbers.empty() && other.numbers.empty();
        if (name != other.name || (this != &other && !areBothEmpty))
            touch(2);
        setName(std::string(other.name));
        flags = other.flags;
        marks = 0;
        type = other.type;
        numbers = std::vector<double>(other.numbers);
        text = std::string(other.text);
    }

    int indexOf(const Model* child) const {
        for (std::size_t i = 0; i < children.size(); ++i)
            if (children[i].get() == child)
                return static_cast<int>(i);
        return -1;
    }

    Model* find(const std::string& key) const {
        const std::string name_ = mangled(key);
        if (!isSorted) {
            for (const Node& child : children)
                if (!child->isBundle && compare(name_, child->name) == 0)
                    return child.get();
            return nullptr;
        }
        for (int low = nBundles(), high = static_cast<int>(children.size()) - 1; low <= high;) {
            const int middle = (low + high) / 2;
            Model* const child = children[static_cast<std::size_t>(middle)].get();
            const int order = compare(name_, child->name);
            if (order == 0)
                return child;
            (order < 0 ? high : low) = order < 0 ? middle - 1 : middle + 1;
        }
        return nullptr;
    }

    Model* findSorted(const std::string& key) {
        if (!isSorted)
            sortParameters();
        return find(key);
    }

    Model* bundle(const std::string& key) const {
        const std::string name_ = mangled(key);
        for (const Node& child : children)
            if (child->isBundle && compare(name_, child->name) == 0)
                return child.get();
        for (const Node& child : children) {
            const Model* const names = child->isBundle ? child->find("Name") : nullptr;
            if (names == nullptr || names->type != ZtPrimType::STRING)
                continue;
            std::vector<std::string> all = words(names->text);
            all.resize(std::min<std::size_t>(all.size(), 16));
            for (const std::string& word : all)
                if (compare(name_, word) == 0)
                    return child.get();
        }
        return nullptr;
    }

    Model* bundleOrNew(const std::string& key) {
        if (Model* const found = bundle(key))
            return found;
        auto made = std::make_unique<Model>(mangled(key));
        Model* const result = made.get();
        insert(std::move(made), true);
        return result;
    }

    Model* findBase(const std::string& key) const {
        for (const Node& child : children)
            if (compare(mangled(key), child->name) == 0)
                return child.get();
        return bundle(key);
    }

    void setByName(const std::string& key, const Model& value) {
        if (Model* const found = find(key))
            return found->set(value);
        auto made = std::make_unique<Model>(mangled(key), false);
        made->type = value.type;
        made->numbers = value.numbers;
        made->text = value.text;
        insert(std::move(made), false);
    }

    void sortParameters() {
        std::stable_sort(children.begin() + nBundles(), children.end(),
                         [](const Node& a, const Node& b) {
                             return upper(upToBlank(a->name)) < upper(upToBlank(b->name));
                         });
        isSorted = true;
    }

    void insert(Node node, bool replace) {
        if (node->isBundle && node->name == "BoundaryIds")
            node->setByName("name", *string("", "BoundaryConditions"));
        else if (node->isBundle && node->name == "BoundaryConditions")
            node->setByName("name", *string("", "BoundaryIds"));
        isSorted = false;
        node->owner = this;
        for (Node& child : children)
            if (replace && child->isBundle == node->isBundle &&
                compare(node->name, child->name) == 0) {
                node->flags |= child->flags;
                child = std::move(node);
                return touch(2);
            }
        children.insert(node->isBundle ? children.begin() + nBundles() : children.end(),
                        std::move(node));
        touch(2);
    }

    Node takeOut(const Model* child) {
        const auto at = children.begin() + indexOf(child);
        Node node = std::move(*at);
        children.erase(at);
        node->owner = nullptr;
        return node;
    }

    void remove(const Model* child) {
        if (child == nullptr || (child->flags & 4) != 0)
            return;
        takeOut(child);
        touch(2);
    }

    void removeAll() {
        children.clear();
        isSorted = false;
    }

    void move(Model& other) {
        if (liesIn(other))
            return;
        if (children.empty()) {
            children.swap(other.children);
            isSorted = other.isSorted;
            other.isSorted = false;
            for (Node& child : children)
                child->owner = this;
            return;
        }
        std::vector<Node> moved;
        moved.swap(other.children);
        other.isSorted = false;
        for (Node& child : moved)
            insert(std::move(child), true);
    }

    Node bare() const {
        auto node = std::make_unique<Model>(name, isBundle);
        node->flags = flags;
        node->marks = marks;
        node->type = type;
        node->numbers = numbers;
        node->text = text;
        return node;
    }

    Node duplicate() const {
        Node node = bare();
        if (isBundle)
            node->copy(*this);
        return node;
    }

    void copy(const Model& source) {
        if ((source.flags & 2) == 0)
            merge(source, false);
    }
    void copyAll(const Model& source) { merge(source, true); }
    void merge(const Model& source, bool all) {
        const bool wasEmpty = children.empty();
        if (!source.isBundle)
            return insert(source.duplicate(), all || !wasEmpty);
        if (source.liesIn(*this) || liesIn(source)) {
            const Node snapshot = source.bare();
            snapshot->merge(source, all);
            return merge(*snapshot, all);
        }
        for (const Node& child : source.children) {
            if (!all && (child->flags & 2) != 0)
                continue;
            Model* same = child->isBundle && (all || !wasEmpty) ? bundle(child->name) : nullptr;
            if (same == nullptr) {
                Node made = child->isBundle && all ? child->bare() : child->duplicate();
                same = child->isBundle && all ? made.get() : nullptr;
                insert(std::move(made), all || !wasEmpty);
            }
            if (same != nullptr)
                same->merge(*child, all);
        }
    }

    void assignBundle(const Model& other) {
        if (this == &other)
            return;
        const bool wasSorted = other.isSorted;
        if (liesIn(other) || other.liesIn(*this)) {
            assignBundle(*other.duplicate());
        } else {
            setName(other.name);
            flags = other.flags;
            marks = 0;
            removeAll();
            copy(other);
        }
        isSorted = wasSorted;
    }

    void untouchAll(int mask) {
        marks &= ~mask;
        for (Node& child : children)
            child->untouchAll(mask);
    }

    std::string print(bool toStream, int level = 0) const {
        const std::string indentation(static_cast<std::size_t>(level) * 4, ' ');
        const auto isPrintable = [=](const Node& child) {
            return !toStream || !(child->flags & 1);
        };
        std::size_t last = 0;
        bool hasBundles = false;
        for (std::size_t i = 0; toStream && i < children.size(); ++i)
            if (isPrintable(children[i])) {
                last = i;
                hasBundles = hasBundles || children[i]->isBundle;
            }
        std::string result = indentation + name + " {\n";
        for (std::size_t i = 0; i < children.size(); ++i) {
            const Model& child = *children[i];
            if (!isPrintable(children[i]))
                continue;
            if (child.isBundle) {
                result += child.print(toStream, level + 1);
                continue;
            }
            result += indentation + "    " + child.name + " ";
            result += child.type == ZtPrimType::STRING ? quoted(child.text) : child.printed();
            result += std::string(i < last || hasBundles ? "," : "") + "\n";
        }
        return result + indentation + "}\n";
    }

    std::string details() const {
        std::string result = "(" + name + " " + std::to_string(flags) + " " + std::to_string(marks);
        for (const Node& child : children)
            result += child->details();
        return result + ")";
    }

    bool isBundle;
    std::string name;
    int flags = 0;
    int marks = 0;
    Model* owner = nullptr;
    ZtPrimType::Type type = ZtPrimType::STRING;
    std::vector<double> numbers;
    std::string text;
    std::vector<Node> children;
    bool isSorted = false;
};

}  // namespace model

using model::Model;
using model::Node;

// Bundles: one byte for what is done, then a name; a plain list tells what is there.
#include <ztlib/NwParamBundle.h>
#include <ztlib/ZtString.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Expect.h"
#include "FuzzInput.h"

namespace {

std::string upper(std::string text) {
    for (char& c : text)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    return text;
}

// What a name is stored by.
std::string stored(const std::string& name) {
    return !name.empty() && name[0] >= '0' && name[0] <= '9' ? "_" + name : name;
}

// What a key is compared with: of a stored name, the first word.
std::string word(const std::string& name) {
    return upper(name.substr(0, name.find(' ')));
}

bool isOtherName(const std::string& key, const std::string& name) {
    return (name == "BoundaryIds" && key == "BOUNDARYCONDITIONS") ||
           (name == "BoundaryConditions" && key == "BOUNDARYIDS");
}

struct Parameter {
    std::string name;
    std::string word;
    int value;
};

struct Model {
    std::vector<std::string> bundles;
    std::vector<Parameter> parameters;
    bool isSorted = false;

    // The functions return an index, the number of elements if there is none.
    std::size_t bundle(const std::string& name) const {
        const std::string key = upper(stored(name));
        const auto is = [&](const std::string& other) { return word(other) == key; };
        auto found = std::find_if(bundles.begin(), bundles.end(), is);
        if (found == bundles.end())
            found = std::find_if(bundles.begin(), bundles.end(),
                                 [&](const std::string& other) { return isOtherName(key, other); });
        return static_cast<std::size_t>(found - bundles.begin());
    }
    std::size_t first(const std::string& name) const {
        const std::string key = upper(stored(name));
        std::size_t i = 0;
        while (i < parameters.size() && parameters[i].word != key)
            ++i;
        return i;
    }
    std::size_t find(const std::string& name) const {
        if (!isSorted)
            return first(name);
        const std::string key = upper(stored(name));
        for (std::size_t low = 0, high = parameters.size(); low < high;) {
            const std::size_t middle = (low + high - 1) / 2;
            const int order = key.compare(parameters[middle].word);
            if (order == 0)
                return middle;
            (order < 0 ? high : low) = order < 0 ? middle : middle + 1;
        }
        return parameters.size();
    }

    void set(const std::string& name, int value) {
        const std::size_t at = find(name);
        if (at < parameters.size()) {
            parameters[at].value = value;
        } else {
            parameters.push_back({stored(name), word(stored(name)), value});
            isSorted = false;
        }
    }
    // A bundle of another of the two names is removed if there is nothing of the name itself.
    void remove(const std::string& name) {
        const std::size_t parameter = first(name);
        const std::size_t at = bundle(name);
        const bool isBundle = at < bundles.size();
        if (isBundle &&
            (word(bundles[at]) == upper(stored(name)) || parameter == parameters.size()))
            bundles.erase(bundles.begin() + static_cast<std::ptrdiff_t>(at));
        else if (parameter < parameters.size())
            parameters.erase(parameters.begin() + static_cast<std::ptrdiff_t>(parameter));
    }
    void sort() {
        std::stable_sort(parameters.begin(), parameters.end(),
                         [](const auto& a, const auto& b) { return a.word < b.word; });
        isSorted = true;
    }
};

void expectEqual(const NwParamBundle& bundle, const Model& model) {
    const std::size_t n = model.bundles.size();
    FUZZ_EXPECT(bundle.nBundles() == static_cast<int>(n));
    FUZZ_EXPECT(bundle.size() == static_cast<int>(n + model.parameters.size()));
    for (std::size_t i = 0; i < n; ++i)
        FUZZ_EXPECT(model.bundles[i] == bundle[static_cast<int>(i)]->name());
    for (std::size_t i = 0; i < model.parameters.size(); ++i)
        FUZZ_EXPECT(model.parameters[i].name == bundle[static_cast<int>(n + i)]->name());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    NwParamBundle bundle("b");
    Model model;
    for (int step = 0; !input.isAtEnd(); ++step) {
        const unsigned what = input.byte();
        const std::string name = input.text();
        switch (what % 6) {
            case 0:
                bundle.set(name.c_str(), step);
                model.set(name, step);
                break;
            case 1:
                bundle.remove(name.c_str());
                model.remove(name);
                break;
            case 2:
                model.sort();
                FUZZ_EXPECT((bundle.findSorted(name.c_str()) != nullptr) ==
                            (model.find(name) < model.parameters.size()));
                bundle.sortParameters();
                break;
            case 3: {
                NwParamBundle other(bundle);
                bundle.removeAll();
                bundle.move(other);
                FUZZ_EXPECT(other.size() == 0);
                model.isSorted = false;
                break;
            }
            case 4: {
                int value = -1;
                const int isThere = bundle.findNum(name.c_str(), value);
                const std::size_t at = model.find(name);
                FUZZ_EXPECT((isThere != 0) == (at < model.parameters.size()));
                FUZZ_EXPECT(!isThere || value == model.parameters[at].value);
                break;
            }
            default: {
                const std::size_t at = model.bundle(name);
                if (at == model.bundles.size()) {
                    model.bundles.push_back(stored(name));
                    model.isSorted = false;
                }
                FUZZ_EXPECT(bundle.bundle(name.c_str(), 1) == bundle.bundle(static_cast<int>(at)));
            }
        }
        expectEqual(bundle, model);
    }
    ZtString text;
    bundle.print(text);
    FUZZ_EXPECT(text.length() >= 6);
    return 0;
}

// Bundles of parameters: look-up against std::map, text against the standard library's.
#include <ztlib/NwParamBundle.h>
#include <ztlib/NwParameter.h>
#include <ztlib/ZtString.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "Compare.h"

namespace {

struct LessIgnoringCase {
    bool operator()(const std::string& a, const std::string& b) const {
        return ZtString::strcasecmp(a.c_str(), b.c_str()) < 0;
    }
};
using Map = std::map<std::string, int, LessIgnoringCase>;

// Names as data objects bear them: ten of a material, or as many as asked of a patient's record.
std::vector<std::string> namesOf(int n) {
    const char* const common[] = {"Color",  "Id",       "Transparency", "Name",   "Density",
                                  "Volume", "Emission", "Opacity",      "Author", "Texture"};
    const char* const groups[] = {"Patient",  "Study",       "Series",   "Image",  "Equipment",
                                  "Protocol", "Acquisition", "Position", "Window", "Dose"};
    std::vector<std::string> names(std::begin(common), std::end(common));
    for (int i = n > 10 ? 0 : n; i < n; ++i) {
        if (i == 0)
            names.clear();
        names.push_back(groups[i % 10] + std::string(common[i / 10 % 10]) +
                        std::to_string(i / 100));
    }
    return names;
}

// A bundle and a map of the same names, and keys in random order and in the other case.
struct Names {
    explicit Names(int n) : names(namesOf(n)), keys(names) {
        std::mt19937 random(1);
        std::shuffle(names.begin(), names.end(), random);
        std::shuffle(keys.begin(), keys.end(), random);
        for (std::string& key : keys)
            for (char& c : key)
                c = static_cast<char>(std::tolower(c));
        int value = 0;
        for (const std::string& name : names) {
            linear.set(name.c_str(), ++value);
            sorted.set(name.c_str(), value);
            map[name] = value;
        }
        sorted.sortParameters();
    }
    int sumLinear() const {
        int sum = 0;
        for (const std::string& key : keys)
            sum += linear.find(key.c_str())->getNum();
        return sum;
    }
    int sumSorted() {
        int sum = 0;
        for (const std::string& key : keys)
            sum += sorted.findSorted(key.c_str())->getNum();
        return sum;
    }
    int sumMap() const {
        int sum = 0;
        for (const std::string& key : keys)
            sum += map.find(key)->second;
        return sum;
    }

    std::vector<std::string> names;
    std::vector<std::string> keys;
    NwParamBundle linear{"linear"};
    NwParamBundle sorted{"sorted"};
    Map map;
};

void addLookUps() {
    const auto thousand = std::make_shared<Names>(1000);
    const auto ten = std::make_shared<Names>(10);
    const auto sorted = [thousand] { benchmark::DoNotOptimize(thousand->sumSorted()); };
    const auto same = [thousand] {
        return thousand->sumSorted() == thousand->sumMap() &&
               thousand->sumSorted() == thousand->sumLinear();
    };
    bench::add({"params look up in 1000, sorted", "linear search", 10, sorted,
                [thousand] { benchmark::DoNotOptimize(thousand->sumLinear()); }, same});
    bench::add({"params look up in 1000, sorted", "std::map", 1 / 3.0, sorted,
                [thousand] { benchmark::DoNotOptimize(thousand->sumMap()); }, same});
    bench::add({"params look up in 10, linear", "std::map", 1,
                [ten] { benchmark::DoNotOptimize(ten->sumLinear()); },
                [ten] { benchmark::DoNotOptimize(ten->sumMap()); },
                [ten] { return ten->sumLinear() == ten->sumMap(); }});
}

// A tree of 100,000 numbers, as plain lists too: bundles of 100 parameters each, of which one is a
// vector of 10 and the others are single numbers.
struct Numbers {
    struct Entry {
        std::string name;
        ZtPrimType::Type type;
        std::vector<double> values;
    };

    Numbers() {
        std::mt19937 random(1);
        std::uniform_real_distribution<double> real(-1000, 1000);
        for (int i = 0; i < 917; ++i) {
            std::vector<Entry>& group = groups.emplace_back();
            NwParamBundle* const bundle =
                NwParamBundle::create(("Bundle" + std::to_string(i)).c_str());
            tree.insert(bundle, 0);
            for (int k = 0; k < 100; ++k) {
                Entry entry{"Parameter" + std::to_string(k), ZtPrimType::INT, {}};
                entry.type = k % 3 == 0   ? ZtPrimType::INT
                             : k % 3 == 1 ? ZtPrimType::FLOAT
                                          : ZtPrimType::DOUBLE;
                for (int n = k == 1 ? 10 : 1; n > 0; --n)
                    entry.values.push_back(k % 3 == 0   ? static_cast<int>(real(random) * 1e5)
                                           : k % 3 == 1 ? static_cast<float>(real(random))
                                                        : real(random));
                std::vector<float> floats(entry.values.begin(), entry.values.end());
                const auto n = static_cast<int>(floats.size());
                if (k % 3 == 0)
                    bundle->insert(
                        new NwParameter(entry.name.c_str(), static_cast<int>(entry.values[0])), 0);
                else if (k % 3 == 1)
                    bundle->insert(new NwParameter(entry.name.c_str(), n, floats.data()), 0);
                else
                    bundle->insert(new NwParameter(entry.name.c_str(), entry.values[0]), 0);
                group.push_back(std::move(entry));
            }
        }
    }

    std::string byStream() const {
        std::ostringstream out;
        out << "tree {\n";
        for (std::size_t i = 0; i < groups.size(); ++i) {
            out << "    Bundle" << i << " {\n";
            for (const Entry& entry : groups[i]) {
                out << "        " << entry.name;
                out.precision(entry.type == ZtPrimType::FLOAT ? 8 : 12);
                for (const double value : entry.values)
                    out << ' ' << value;
                out << '\n';
            }
            out << "    }\n";
        }
        out << "}\n";
        return out.str();
    }
    ZtString byBundle() const {
        ZtString text;
        tree.print(text);
        return text;
    }

    NwParamBundle tree{"tree"};
    std::vector<std::vector<Entry>> groups;
};

void addTexts() {
    const auto numbers = std::make_shared<Numbers>();
    bench::add({"params print 100,000 numbers", "std::ostringstream", 2,
                [numbers] { benchmark::DoNotOptimize(numbers->byBundle().length()); },
                [numbers] { benchmark::DoNotOptimize(numbers->byStream().size()); },
                [numbers] { return numbers->byBundle() == numbers->byStream().c_str(); }});

    const auto texts = std::make_shared<std::vector<std::string>>();
    for (const auto& group : numbers->groups)
        for (const auto& entry : group)
            for (const double value : entry.values) {
                char digits[32];
                std::snprintf(digits, sizeof digits, "%.8g", value);
                texts->push_back(digits);
            }
    // Parameters that hold another value are parsed, as when a file is read.
    const auto parameter = std::make_shared<NwParameter>("value", 0);
    const auto ours = [texts, parameter] {
        double sum = 0;
        for (const std::string& text : *texts) {
            parameter->parse(text.c_str());
            sum += parameter->getReal();
        }
        return sum;
    };
    const auto peer = [texts] {
        double sum = 0;
        for (const std::string& text : *texts) {
            float value = 0;
            std::sscanf(text.c_str(), "%f", &value);
            sum += static_cast<double>(value);
        }
        return sum;
    };
    const auto same = [texts, parameter] {
        for (const std::string& text : *texts) {
            float value = 0;
            std::sscanf(text.c_str(), "%f", &value);
            parameter->parse(text.c_str());
            if (static_cast<float>(parameter->getReal()) != value)
                return false;
        }
        return true;
    };
    bench::add({"params parse 100,000 texts", "sscanf", 1,
                [ours] { benchmark::DoNotOptimize(ours()); },
                [peer] { benchmark::DoNotOptimize(peer()); }, same});
}

// In append mode. What counts is our time, which is to stay far below a second; the peer tells what
// the memory alone costs.
void addInserts() {
    constexpr int kCount = 100000;
    const auto names = std::make_shared<std::vector<std::string>>();
    for (int i = 0; i < kCount; ++i)
        names->push_back("Parameter" + std::to_string(i));
    bench::add({"params insert 100,000",
                "std::vector of name and values",
                0,
                [names] {
                    NwParamBundle bundle("all");
                    for (const std::string& name : *names)
                        bundle.insert(new NwParameter(name.c_str(), 1), 0);
                    benchmark::DoNotOptimize(bundle.size());
                },
                [names] {
                    std::vector<std::unique_ptr<std::pair<std::string, std::vector<int>>>> all;
                    for (const std::string& name : *names)
                        all.push_back(std::make_unique<std::pair<std::string, std::vector<int>>>(
                            name, std::vector<int>(1, 1)));
                    benchmark::DoNotOptimize(all.size());
                },
                {}});
}

// A copy of 10,000 parameters into which 10,000 are merged, of which half are there already.
void addMerges() {
    struct Both {
        NwParamBundle bundle{"bundle"};
        Map map;
        void add(int first, int last) {
            for (int i = first; i < last; ++i) {
                const std::string name = "Parameter" + std::to_string(i);
                bundle.insert(new NwParameter(name.c_str(), i), 0);
                map[name] = i;
            }
        }
    };
    const auto old = std::make_shared<Both>();
    const auto update = std::make_shared<Both>();
    old->add(0, 10000);
    update->add(5000, 15000);
    const auto ours = [old, update] {
        NwParamBundle merged(old->bundle);
        merged.copy(update->bundle);
        return merged.size();
    };
    const auto peer = [old, update] {
        Map merged(old->map);
        for (const auto& [name, value] : update->map)
            merged[name] = value;
        return static_cast<int>(merged.size());
    };
    bench::add({"params merge 10,000 into 10,000", "std::map", 0,
                [ours] { benchmark::DoNotOptimize(ours()); },
                [peer] { benchmark::DoNotOptimize(peer()); },
                [ours, peer] { return ours() == peer(); }});
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    addLookUps();
    addTexts();
    addInserts();
    addMerges();
    benchmark::RunSpecifiedBenchmarks();
}

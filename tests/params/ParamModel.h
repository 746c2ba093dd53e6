// A plain model of parameter trees: lists searched from the front, recursion, texts by printf.
#pragma once

#include <ztlib/ZtPrimType.h>

#include <memory>
#include <string>
#include <vector>

struct Model;
using Node = std::unique_ptr<Model>;

/// A parameter or a bundle. The operations do, word for word, what those of the library are
/// documented to do.
struct Model {
    explicit Model(std::string n, bool b = true) : isBundle(b), name(std::move(n)) {}
    static Node number(const std::string& name, ZtPrimType::Type type, std::vector<double> values);
    static Node string(const std::string& name, const std::string& text);

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

    int nBundles() const;
    void touch(int bits);
    void setName(const std::string& newName);
    bool liesIn(const Model& top) const;

    std::string printed() const;
    void set(const Model& value);  // its type, numbers and text
    void parse(const std::string& newText);
    void assignParameter(const Model& other);

    int indexOf(const Model* child) const;
    Model* find(const std::string& key) const;
    Model* findSorted(const std::string& key);
    Model* findBase(const std::string& key) const;
    Model* bundle(const std::string& key) const;
    Model* bundleOrNew(const std::string& key);
    void setByName(const std::string& key, const Model& value);
    void sortParameters();

    void insert(Node node, bool replace);
    Node takeOut(const Model* child);  // no touch, no look at flags
    void remove(const Model* child);
    void removeAll();
    void move(Model& other);
    Node duplicate() const;
    void copy(const Model& source);
    void copyAll(const Model& source);
    void assignBundle(const Model& other);
    void untouchAll(int mask);

    std::string print(bool toStream, int level = 0) const;
    /// Everything that is not in the text, for this node and all below it.
    std::string details() const;

private:
    Node bare() const;
    void mergeAll(const Model& source);
};

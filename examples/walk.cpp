// Prints the path and the type of every location of a scene: walk <scene>
#include <iostream>
#include <stdexcept>

#include <OxTellarProducers/Scene.h>

using Producer = TELLAR::GeometryProducer::Ptr;

static void Print(const Producer& location) {
    std::cout << location->getFullName() << "  " << location->getType() << '\n';
    for (Producer child = location->getFirstChild(); child; child = child->getNextSibling())
        Print(child);
}

int main(int argc, char** argv) try {
    if (argc != 2) throw std::invalid_argument("usage: walk <scene>");
    const Producer root = TELLAR::Scene::Open(argv[1])->getRoot();
    if (!root) throw std::runtime_error("the scene has no /root");
    Print(root);
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}

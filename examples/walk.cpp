// Prints the path and the type of every location of a scene: walk <op file>
#include <iostream>
#include <stdexcept>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/GeometryProducer.h>

using Producer = boost::intrusive_ptr<TELLAR::GeometryProducer>;

static void Print(const Producer& location) {
    std::cout << location->getFullName() << "  " << location->getType() << '\n';
    for (Producer child = location->getFirstChild(); child; child = child->getNextSibling())
        Print(child);
}

int main(int argc, char** argv) try {
    if (argc != 2) throw std::invalid_argument("usage: walk <op file>");
    const Producer root = TELLAR::CreateThreadAwareGeometryProducer(argv[1], "/root");
    if (!root) throw std::runtime_error("the scene has no /root");
    Print(root);
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}

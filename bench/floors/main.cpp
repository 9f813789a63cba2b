#include "floors/Floors.h"

int main(int argc, char** argv) {
    return bench::runKind({{"walk", {{"TREE"}, floors::walk}},
                           {"start", {{"TREE", "STATE"}, floors::rescan}},
                           {"rescan", {{"TREE", "STATE"}, floors::rescan}},
                           {"digest", {{"SMALL", "LARGE"}, floors::digest}},
                           {"sync", {{"URL", "FOLDER", "STATE"}, floors::sync}},
                           {"upload", {{"URL", "SMALL", "LARGE", "STATE"}, floors::upload}},
                           {"watch", {{"TREE", "FOLDERS"}, floors::watch}},
                           {"events", {{"TREE", "FOLDERS", "CHANGES"}, floors::events}},
                           {"sink", {{}, floors::sink}}},
                          argc, argv);
}

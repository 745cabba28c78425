// The example model files bundled into the tool at build time: the defaults of
// --model and --robot.
#ifndef TOLVEX_TOOLS_EMBEDDEDEXAMPLES_H
#define TOLVEX_TOOLS_EMBEDDEDEXAMPLES_H

struct EmbeddedFile {
    const char* source;          // "examples/<file name>" it was made from
    const unsigned char* data;   // file contents, followed by one extra 0 byte
    unsigned long size;          // bytes of file contents (without the extra 0)
};

extern const EmbeddedFile kBundledModel;       // examples/model-1017.txt, the default model
extern const EmbeddedFile kBundledModel1007;   // examples/model-1007.txt (the demo compares it)
extern const EmbeddedFile kBundledRobot;       // examples/robot.ini

#endif

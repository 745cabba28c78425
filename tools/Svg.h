// Writing the tool's SVG drawings: a white page opened and closed with one clear
// error for a file that cannot be written.
#ifndef TOLVEX_TOOLS_SVG_H
#define TOLVEX_TOOLS_SVG_H

#include <cstdio>
#include <string>

class SvgFile {
public:
    // Throws Failure "<command>: cannot write '<path>'".
    SvgFile(const std::string& command, const std::string& path, int width, int height);
    ~SvgFile();
    FILE* out() const { return out_; }
    // Ends the document; throws like the constructor when the file was not written.
    void close();

private:
    std::string command_, path_;
    FILE* out_;
};

// A polyline's "points" text for the points (x[i], y[i]).
std::string svgPoints(const double* x, const double* y, int count);

#endif

#include "tools/Svg.h"

#include "tools/Cli.h"

SvgFile::SvgFile(const std::string& command, const std::string& path, int width, int height)
    : command_(command), path_(path), out_(std::fopen(path.c_str(), "w"))
{
    if (!out_)
        throw Failure(command_ + ": cannot write '" + path_ + "'");
    std::fprintf(out_, "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" "
                       "font-family=\"sans-serif\">\n<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n",
                 width, height);
}

SvgFile::~SvgFile()
{
    if (out_)
        std::fclose(out_);
}

void SvgFile::close()
{
    std::fprintf(out_, "</svg>\n");
    bool written = std::ferror(out_) == 0;
    bool closed = std::fclose(out_) == 0;
    out_ = nullptr;
    if (!closed || !written)
        throw Failure(command_ + ": cannot write '" + path_ + "'");
}

std::string svgPoints(const double* x, const double* y, int count)
{
    std::string text;
    char point[64];
    for (int i = 0; i < count; ++i) {
        std::snprintf(point, sizeof point, "%.2f,%.2f ", x[i], y[i]);
        text += point;
    }
    return text;
}

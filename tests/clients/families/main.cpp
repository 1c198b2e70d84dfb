// families NAME [--pbuffer | --surfaceless]: draws the frames of one family of features, in a window or off screen.

#include <cstdio>
#include <map>

#include "Families.h"

namespace {

constexpr int Size = 256;

std::map<std::string, void (*)(Stage&)>& Families()
{
    static std::map<std::string, void (*)(Stage&)> families;
    return families;
}

} // namespace

Family::Family(const std::string& name, void (*draw)(Stage& stage))
{
    Families()[name] = draw;
}

void Quarter(int index)
{
    glViewport(index % 2 * Size / 2, index / 2 * Size / 2, Size / 2, Size / 2);
}

void ExpectNoErrors(const char* where)
{
    if (const GLenum error = glGetError(); error != GL_NO_ERROR) {
        std::fprintf(stderr, "GL error 0x%x\n", error);
        Stage::Fail(where);
    }
}

void EndFrame(Stage& stage)
{
    ExpectNoErrors("drawing");
    stage.Swap();
}

int main(int argc, char** argv)
{
    static const std::map<std::string, Stage::Kind> kinds = {
        {"", Stage::Kind::Window}, {"--pbuffer", Stage::Kind::Pbuffer}, {"--surfaceless", Stage::Kind::Surfaceless}};
    const auto kind = kinds.find(argc > 2 ? argv[2] : "");
    const auto family = Families().find(argc > 1 ? argv[1] : "");
    if (kind == kinds.end() || family == Families().end()) {
        std::fprintf(stderr, "usage: families NAME [--pbuffer | --surfaceless]\nNames:");
        for (const auto& [name, draw] : Families())
            std::fprintf(stderr, " %s", name.c_str());
        std::fprintf(stderr, "\n");
        return 2;
    }
    Stage stage(kind->second, Size, Size, 3);
    family->second(stage);
    return 0;
}

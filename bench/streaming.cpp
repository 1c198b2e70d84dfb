// streaming WAY FRAMES: draws each frame with vertices that it writes to a coherent map of 64 MiB, of which one percent
// changes from frame to frame, and prints the frames a second. What bench/coherent-map measures. The ways:
//   ring        the next part of the map, from its start to its end
//   scattered   a page here and there
//   whole       all of the map is written, but for one percent with what is there already

#include <GLES3/gl32.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "Drawing.h"
#include "Shaders.h"
#include "Stage.h"

namespace {

constexpr std::size_t MapBytes = 64 << 20;
constexpr std::size_t PieceBytes = 4096;
constexpr std::size_t Pieces = MapBytes / PieceBytes;
constexpr std::size_t ChangedPieces = Pieces / 100;

struct Vertex {
    float x;
    float y;
};
constexpr std::size_t PieceVertices = PieceBytes / sizeof(Vertex);

/// A strip of triangles, at another place in each frame.
void WritePiece(Vertex* piece, std::size_t number, std::size_t frame)
{
    const float left = static_cast<float>(number % 16) / 8 - 1;
    const float bottom = static_cast<float>(number / 16 % 16) / 8 - 1 + 0.01f * static_cast<float>(frame % 10);
    for (std::size_t i = 0; i < PieceVertices; ++i)
        piece[i] = {left + static_cast<float>(i) * (0.1f / PieceVertices), bottom + 0.1f * static_cast<float>(i % 2)};
}

/// The number of a piece that changes in the frame.
std::size_t Changed(const std::string& way, std::size_t i, std::size_t frame)
{
    return way == "ring" ? (frame * ChangedPieces + i) % Pieces : i * (Pieces / ChangedPieces) + frame % 10;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string way = argc == 3 ? argv[1] : "";
    const auto frames = argc == 3 ? static_cast<std::size_t>(std::atoi(argv[2])) : 0;
    if ((way != "ring" && way != "scattered" && way != "whole") || frames == 0) {
        std::fprintf(stderr, "usage: streaming ring|scattered|whole FRAMES\n");
        return 2;
    }
    Stage stage(Stage::Kind::Pbuffer, 256, 256, 3);
    constexpr GLbitfield Access = GL_MAP_WRITE_BIT | GL_MAP_PERSISTENT_BIT_EXT | GL_MAP_COHERENT_BIT_EXT;
    auto* const vertices = static_cast<Vertex*>(MapForGood(GL_ARRAY_BUFFER, MapBytes, Access, Access));
    for (std::size_t piece = 0; piece < Pieces; ++piece)
        WritePiece(vertices + piece * PieceVertices, piece, 0);
    std::vector<std::size_t> writtenIn(Pieces, 0);
    glUseProgram(FlatProgram());
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
    glVertexAttrib4f(1, 0.2f, 0.6f, 0.4f, 1);
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t frame = 1; frame <= frames; ++frame) {
        for (std::size_t i = 0; i < ChangedPieces; ++i)
            writtenIn[Changed(way, i, frame)] = frame;
        for (std::size_t piece = 0; piece < Pieces; ++piece)
            if (way == "whole" || writtenIn[piece] == frame)
                WritePiece(vertices + piece * PieceVertices, piece, writtenIn[piece]);
        glClear(GL_COLOR_BUFFER_BIT);
        for (std::size_t i = 0; i < ChangedPieces; ++i)
            glDrawArrays(GL_TRIANGLE_STRIP, static_cast<GLint>(Changed(way, i, frame) * PieceVertices), PieceVertices);
        glFinish();
        stage.Swap();
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    std::printf("%.2f\n", static_cast<double>(frames) / seconds.count());
}

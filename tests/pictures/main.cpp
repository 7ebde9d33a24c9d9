// Draws the program's screens and the journey through them: one SVG each, and a gallery page.
//
//     ifmenu_pictures FOLDER
#include <filesystem>
#include <fstream>
#include <iostream>

#include "journey.h"
#include "tour.h"

namespace pictures {
namespace {

void WriteFile(const std::filesystem::path& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    if (!file.flush()) throw std::runtime_error(path.string() + " cannot be written");
}

void DrawAll(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    std::string page = kGalleryHead;
    const auto draw = [&](const std::string& name, const Label& label, const std::string& svg) {
        WriteFile(folder / (name + ".svg"), svg);
        page += "\n## " + label.title + "\n\n" + label.description + "\n\n![" + label.title + "](" +
                name + ".svg)\n";
    };
    draw("journey", kJourneyLabel, MovingPicture(RecordJourney(), kJourneyLabel));
    for (const Drawn& picture : DrawScreens())
        draw(picture.name, picture.label, StillPicture(picture.shot, picture.label));
    WriteFile(folder / "README.md", page);
}

}  // namespace
}  // namespace pictures

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (argc != 2) {
        std::cerr << "usage: ifmenu_pictures FOLDER\n";
        return 2;
    }
    try {
        pictures::DrawAll(argv[1]);
    } catch (const testing::AssertionException&) {
        return 1;  // the harness has reported the failure
    } catch (const std::exception& problem) {
        std::cerr << problem.what() << "\n";
        return 1;
    }
    return testing::UnitTest::GetInstance()->Passed() ? 0 : 1;
}

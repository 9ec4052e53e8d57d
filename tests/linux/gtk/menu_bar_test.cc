#include "platform/linux/gtk/key_equivalents.h"

#include <gmock/gmock.h>

#include "app/menu_bar.h"
#include "platform/linux/gtk/gtk_commands.h"

namespace orvel {
namespace {

using testing::ElementsAre;

TEST(KeyEquivalents, CommandKeyIsControlAndSuper) {
  std::vector<std::pair<std::string, std::vector<std::string>>> all;
  for (const Menu &menu : menuBarDescription()) {
    for (const MenuItem &item : menu.items) {
      if (!accelerators(item).empty()) all.emplace_back(item.title, accelerators(item));
    }
  }
  using Keys = std::vector<std::string>;
  EXPECT_THAT(all, ElementsAre(std::pair("Verberg Orvel OS", Keys{"<Control>h", "<Super>h"}),
                               std::pair("Stop Orvel OS", Keys{"<Control>q", "<Super>q"}),
                               std::pair("Herstel", Keys{"<Control>z", "<Super>z"}),
                               std::pair("Opnieuw", Keys{"<Control><Shift>z", "<Super><Shift>z"}),
                               std::pair("Knip", Keys{"<Control>x", "<Super>x"}),
                               std::pair("Kopieer", Keys{"<Control>c", "<Super>c"}),
                               std::pair("Plak", Keys{"<Control>v", "<Super>v"}),
                               std::pair("Selecteer alles", Keys{"<Control>a", "<Super>a"}),
                               std::pair("Herlaad", Keys{"<Control>r", "<Super>r"}),
                               std::pair("Schermvullend", Keys{"F11", "<Control><Super>f"}),
                               std::pair("Minimaliseer", Keys{"<Control>m", "<Super>m"})));
}

TEST(KeyEquivalents, OnlyEditMenuHasEditingCommands) {
  for (const Menu &menu : menuBarDescription()) {
    for (const MenuItem &item : menu.items) {
      if (item.isSeparator) continue;
      EXPECT_EQ(isEditingCommand(item.action), menu.title == "Wijzig") << item.title;
    }
  }
}

}  // namespace
}  // namespace orvel

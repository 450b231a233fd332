#include "Utility/InstallUtility/FileNode.h"

bool FileNode::IsShortCutInfoValid() const {
    return shortCut.name.IsSet() && shortCut.dir.IsSet();
}

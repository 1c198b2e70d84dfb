#include "Playback/Windows/SingleWindowManager.h"

namespace Playback {

Window* SingleWindowManager::GetWindow(unsigned int)
{
    return m_window;
}

void SingleWindowManager::AddWindow(unsigned int) {}

void SingleWindowManager::RemoveWindow(unsigned int) {}

void SingleWindowManager::ActivateWindow(unsigned int) {}

Window* SingleWindowManager::GetActiveWindow()
{
    return m_window;
}

Window* SingleWindowManager::CreateNewWindow()
{
    return nullptr;
}

void SingleWindowManager::DestroyWindow(Window*) {}

} // namespace Playback

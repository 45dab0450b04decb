#pragma once

#include <string>
#include <vector>

/// The arguments as this host hands them over: in brackets, or the command line to the character.
std::string ArgumentsAsGiven(const std::vector<std::string>& arguments);

void KillThisProcess();

/// An interrupt from the keyboard for the program that started this one, where the host knows such a thing.
void InterruptTheStarter();

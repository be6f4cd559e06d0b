// Internal declarations of the profile subsystem.
#pragma once

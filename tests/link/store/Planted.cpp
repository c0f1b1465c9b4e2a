#include "link/PlantedFault.h"

namespace tunevale::link {

extern const PlantedFault kPlanted;
const PlantedFault kPlanted = kPlantedFault;

}  // namespace tunevale::link

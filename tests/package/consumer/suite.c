#include <OxTellarSDK/AttributeSuite.h>

int SetUpAttributes(void) {
    OxSetAttributeSuite(OxGetBuiltInAttributeSuite());
    return OxGetAttributeSuite() != 0;
}

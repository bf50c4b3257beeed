#ifndef TOVX_VALUE_TYPE_H
#define TOVX_VALUE_TYPE_H

// What a property's text stands for. A property's value is always text.
enum ValueType : int {
    ValueTypeNotFound = -1,  // no type could be found for the property; held unchanged
    ValueTypeUnknown = 0,    // not converted
    ValueTypeText = 1,       // text, also a byte value or a currency amount
    ValueTypeInteger = 2,    // a whole number, also an error code or a class id
    ValueTypeFloat = 3,
    ValueTypeBoolean = 4,
    ValueTypeDate = 5,
};

#endif

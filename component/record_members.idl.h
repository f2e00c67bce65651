// The members that Abstract, Patient and Tumor share, in their published order. Included once for
// each of the three, with
//   QM_BY_NUMBER      the name of the field access by item number
//   QM_BY_NUMBER_TYPE its type
//   QM_KEY            the argument of AddNew
//   QM_OWN_MEMBERS    what only this record has among its editing members

[propget, id(0)] HRESULT Fields([in] VARIANT vFieldIndex, [out, retval] VARIANT* result);
[propput, id(0)] HRESULT Fields([in] VARIANT vFieldIndex, [in] VARIANT newval);
[propget, id(1)] HRESULT FieldByIndex([in] short iFieldIndex, [out, retval] VARIANT* result);
[propput, id(1)] HRESULT FieldByIndex([in] short iFieldIndex, [in] VARIANT newval);
[propget, id(2)] HRESULT FieldByName([in] BSTR strFieldName, [out, retval] VARIANT* result);
[propput, id(2)] HRESULT FieldByName([in] BSTR strFieldName, [in] VARIANT newval);
[propget, id(3)] HRESULT QM_BY_NUMBER([in] short Index, [out, retval] QM_BY_NUMBER_TYPE* result);
[propput, id(3)] HRESULT QM_BY_NUMBER([in] short Index, [in] QM_BY_NUMBER_TYPE newval);
[id(4)] HRESULT Recordset([in] short Index, [out, retval] IDispatch** result);
[id(5)] HRESULT Recordsets([out, retval] SAFEARRAY(VARIANT)* result);
[propget, id(6)] HRESULT FieldTableNo([in, out] short* Index, [out, retval] short* result);
[propget, id(7)] HRESULT AutoFormatValues([out, retval] VARIANT_BOOL* result);
[propput, id(7)] HRESULT AutoFormatValues([in] VARIANT_BOOL newval);

[propget, id(8)] HRESULT EOF([out, retval] VARIANT_BOOL* result);
[propget, id(9)] HRESULT BOF([out, retval] VARIANT_BOOL* result);
[id(10)] HRESULT MoveNext();
[id(11)] HRESULT MoveLast();
[id(12)] HRESULT MoveFirst();
[id(13)] HRESULT MovePrevious();
[id(14)] HRESULT Find([in] BSTR strCriteria, [in, optional] long lSkip,
                      [in, optional] short iDirection, [in, optional] long lStart);
[id(15)] HRESULT SeekRecord([in] VARIANT vValue);
[propput, id(16)] HRESULT Index([in] BSTR newval);
[id(17)] HRESULT Filter([in] BSTR strFilter);
[propget, id(18)] HRESULT BookMark([out, retval] VARIANT* result);
[propput, id(18)] HRESULT BookMark([in] VARIANT newval);
[propget, id(19)] HRESULT RecordCount([out, retval] long* result);
[propget, id(20)] HRESULT SupportsIndex([out, retval] VARIANT_BOOL* result);
[propget, id(21)] HRESULT State([out, retval] short* result);
[id(22)] HRESULT CloseRecordset();

[id(23)] HRESULT AddNew([in] long QM_KEY);
[id(24)] HRESULT Update();
[id(25)] HRESULT CancelUpdate();
QM_OWN_MEMBERS

[propget, id(27)] HRESULT FieldName([in, out] short* Index, [out, retval] BSTR* result);
[propget, id(28)] HRESULT FieldLength([in, out] short* Index, [out, retval] BSTR* result);
[propget, id(29)] HRESULT FieldJustification([in, out] short* Index, [out, retval] BSTR* result);
[propget, id(30)] HRESULT FieldStartCol([in, out] short* Index, [out, retval] short* result);
[propget, id(31)] HRESULT FieldStart([in] short Index, [out, retval] short* result);
[propput, id(31)] HRESULT FieldStart([in] short Index, [in] short newval);
[propget, id(32)] HRESULT FieldExists([in, out] short* Index, [out, retval] VARIANT_BOOL* result);
[propget, id(33)] HRESULT FieldDataType([in, out] short* Index, [out, retval] BSTR* result);
[propget, id(34)] HRESULT FieldType([in] short Index, [out, retval] BSTR* result);
[propput, id(34)] HRESULT FieldType([in] short Index, [in] BSTR newval);
[propget, id(35)] HRESULT FieldPrompting([in, out] short* Index, [out, retval] BSTR* result);
[propget, id(36)] HRESULT FieldDefaultVal([in, out] short* Index, [out, retval] BSTR* result);
[propget, id(37)] HRESULT FieldDescription([in, out] short* Index, [out, retval] BSTR* result);
[propget, id(38)] HRESULT FieldInvisible([in, out] short* Index, [out, retval] VARIANT_BOOL* result);
[propget, id(39)] HRESULT FieldNAACCRNumber([in, out] short* Index, [out, retval] short* result);
[propget, id(40)] HRESULT FieldRow([in] short Index, [out, retval] short* result);
[propput, id(40)] HRESULT FieldRow([in] short Index, [in] short newval);

[id(41)] HRESULT Max([in] BSTR strFieldName, [out, retval] BSTR* result);
[id(42)] HRESULT Min([in] BSTR strFieldName, [out, retval] BSTR* result);
[id(43)] HRESULT GetXML([out, retval] VARIANT* result);

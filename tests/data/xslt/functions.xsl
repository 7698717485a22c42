<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform" xmlns:x="urn:x"
    xmlns:exsl="http://exslt.org/common" exclude-result-prefixes="x exsl">
<xsl:output encoding="UTF-8"/>
<xsl:key name="k" match="n" use="."/>
<xsl:decimal-format name="eu" decimal-separator="," grouping-separator="."/>
<xsl:variable name="tree"><i/><i/></xsl:variable>
<xsl:template match="/"><functions>
<f e="last()"><xsl:value-of select="last()"/></f>
<f e="position()"><xsl:value-of select="position()"/></f>
<f e="count(//n)"><xsl:value-of select="count(//n)"/></f>
<f e="id('here')"><xsl:value-of select="id('here')"/></f>
<f e="local-name(//x:s)"><xsl:value-of select="local-name(//x:s)"/></f>
<f e="namespace-uri(//x:s)"><xsl:value-of select="namespace-uri(//x:s)"/></f>
<f e="name(//x:s)"><xsl:value-of select="name(//x:s)"/></f>
<f e="string(//n[2])"><xsl:value-of select="string(//n[2])"/></f>
<f e="concat('a','b',1)"><xsl:value-of select="concat('a','b',1)"/></f>
<f e="starts-with('abc','ab')"><xsl:value-of select="starts-with('abc','ab')"/></f>
<f e="contains('abc','bc')"><xsl:value-of select="contains('abc','bc')"/></f>
<f e="substring-before('1999/04','/')"><xsl:value-of select="substring-before('1999/04','/')"/></f>
<f e="substring-after('1999/04','/')"><xsl:value-of select="substring-after('1999/04','/')"/></f>
<f e="substring('12345',2,3)"><xsl:value-of select="substring('12345',2,3)"/></f>
<f e="substring('12345',1.5,2.6)"><xsl:value-of select="substring('12345',1.5,2.6)"/></f>
<f e="string-length('naïve 𝄞')"><xsl:value-of select="string-length('naïve 𝄞')"/></f>
<f e="normalize-space(//x:s)"><xsl:value-of select="normalize-space(//x:s)"/></f>
<f e="translate('bar','abc','AB')"><xsl:value-of select="translate('bar','abc','AB')"/></f>
<f e="translate('a𝄞b','𝄞','x')"><xsl:value-of select="translate('a𝄞b','𝄞','x')"/></f>
<f e="boolean(//none)"><xsl:value-of select="boolean(//none)"/></f>
<f e="not(//none)"><xsl:value-of select="not(//none)"/></f>
<f e="true()"><xsl:value-of select="true()"/></f>
<f e="false()"><xsl:value-of select="false()"/></f>
<f e="boolean(//t[lang('en')])"><xsl:value-of select="boolean(//t[lang('en')])"/></f>
<f e="number('12.50')"><xsl:value-of select="number('12.50')"/></f>
<f e="number('x')"><xsl:value-of select="number('x')"/></f>
<f e="sum(//n[. != 'none'])"><xsl:value-of select="sum(//n[. != 'none'])"/></f>
<f e="floor(-1.5)"><xsl:value-of select="floor(-1.5)"/></f>
<f e="ceiling(-1.5)"><xsl:value-of select="ceiling(-1.5)"/></f>
<f e="round(2.5)"><xsl:value-of select="round(2.5)"/></f>
<f e="round(-2.5)"><xsl:value-of select="round(-2.5)"/></f>
<f e="1 div 0"><xsl:value-of select="1 div 0"/></f>
<f e="-1 div 0"><xsl:value-of select="-1 div 0"/></f>
<f e="0 div 0"><xsl:value-of select="0 div 0"/></f>
<f e="7 mod -3"><xsl:value-of select="7 mod -3"/></f>
<f e="2 &lt; 3 and 3 &lt;= 3 or 1 = 2"><xsl:value-of select="2 &lt; 3 and 3 &lt;= 3 or 1 = 2"/></f>
<f e="//n[1] | //n[2]"><xsl:value-of select="//n[1] | //n[2]"/></f>
<f e="//n[position() = last()]"><xsl:value-of select="//n[position() = last()]"/></f>
<f e="count(document('')//xsl:template)"><xsl:value-of select="count(document('')//xsl:template)"/></f>
<f e="key('k','3')"><xsl:value-of select="key('k','3')"/></f>
<f e="format-number(1234567.891,'#,##0.00')"><xsl:value-of select="format-number(1234567.891,'#,##0.00')"/></f>
<f e="format-number(-0.256,'0.0%')"><xsl:value-of select="format-number(-0.256,'0.0%')"/></f>
<f e="format-number(1234.5,'#.##0,00','eu')"><xsl:value-of select="format-number(1234.5,'#.##0,00','eu')"/></f>
<f e="current()/list/n[1]"><xsl:value-of select="current()/list/n[1]"/></f>
<f e="generate-id(/) = generate-id(//n/ancestor::node()[last()])"><xsl:value-of select="generate-id(/) = generate-id(//n/ancestor::node()[last()])"/></f>
<f e="system-property('xsl:version')"><xsl:value-of select="system-property('xsl:version')"/></f>
<f e="element-available('xsl:if')"><xsl:value-of select="element-available('xsl:if')"/></f>
<f e="element-available('xsl:nothing')"><xsl:value-of select="element-available('xsl:nothing')"/></f>
<f e="function-available('key')"><xsl:value-of select="function-available('key')"/></f>
<f e="function-available('nothing')"><xsl:value-of select="function-available('nothing')"/></f>
<f e="unparsed-entity-uri('none')"><xsl:value-of select="unparsed-entity-uri('none')"/></f>
<f e="count(//n[1]/following-sibling::*)"><xsl:value-of select="count(//n[1]/following-sibling::*)"/></f>
<f e="count(//t/preceding::*)"><xsl:value-of select="count(//t/preceding::*)"/></f>
<f e="count(//n[1]/following::*)"><xsl:value-of select="count(//n[1]/following::*)"/></f>
<f e="name(//t/..)"><xsl:value-of select="name(//t/..)"/></f>
<f e="count(//t/ancestor-or-self::*)"><xsl:value-of select="count(//t/ancestor-or-self::*)"/></f>
<f e="count(/descendant-or-self::node())"><xsl:value-of select="count(/descendant-or-self::node())"/></f>
<f e="count(//@*)"><xsl:value-of select="count(//@*)"/></f>
<f e="count(//x:s/namespace::*)"><xsl:value-of select="count(//x:s/namespace::*)"/></f>
<f e="exsl:object-type(1)"><xsl:value-of select="exsl:object-type(1)"/></f>
<f e="exsl:object-type('a')"><xsl:value-of select="exsl:object-type('a')"/></f>
<f e="exsl:object-type(//n)"><xsl:value-of select="exsl:object-type(//n)"/></f>
<f e="exsl:object-type(true())"><xsl:value-of select="exsl:object-type(true())"/></f>
<f e="exsl:object-type($tree)"><xsl:value-of select="exsl:object-type($tree)"/></f>
<f e="count(exsl:node-set($tree)/i)"><xsl:value-of select="count(exsl:node-set($tree)/i)"/></f>
<f e="exsl:node-set('text')"><xsl:value-of select="exsl:node-set('text')"/></f>
<f e="string(12345678901234567890)"><xsl:value-of select="string(12345678901234567890)"/></f>
<f e="string(0.000001)"><xsl:value-of select="string(0.000001)"/></f>
<f e="string(1e3)"><xsl:value-of select="string(1e3)"/></f>
<f e="'quote' = &quot;quote&quot;"><xsl:value-of select="'quote' = &quot;quote&quot;"/></f>
<f e="//n[. &gt; 3]"><xsl:value-of select="//n[. &gt; 3]"/></f>
<f e="boolean(self::node())"><xsl:value-of select="boolean(self::node())"/></f>
<f e="count(//n/parent::*/child::n)"><xsl:value-of select="count(//n/parent::*/child::n)"/></f>
<f e="count(//attribute::*)"><xsl:value-of select="count(//attribute::*)"/></f>
<f e="count(/descendant::n[preceding-sibling::n])"><xsl:value-of select="count(/descendant::n[preceding-sibling::n])"/></f>
<f e="name(//n[2]/preceding-sibling::*[1])"><xsl:value-of select="name(//n[2]/preceding-sibling::*[1])"/></f>
</functions></xsl:template>
</xsl:stylesheet>

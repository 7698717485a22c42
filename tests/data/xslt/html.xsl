<xsl:transform version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
<xsl:output method="html" doctype-public="-//W3C//DTD HTML 4.01//EN" doctype-system="http://www.w3.org/TR/html4/strict.dtd"/>
<xsl:template match="/page"><html><head><title><xsl:value-of select="@title"/></title></head>
<body><xsl:copy-of select="p"/><hr/><img src="a b.png" alt="&lt;x&gt;"/><xsl:copy-of select="script"/>
<input disabled="disabled"/><a href="?a=1&amp;b=é">link</a></body></html></xsl:template>
</xsl:transform>
